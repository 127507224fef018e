#include "config/dvconfigfile.h"

#include "config/cdvsettings.h"
#include "config/inifile.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

const char* const kPrefix = "CDVLogics::getIniFileSettings: ";
const char* const kFileName = "dvlogics.ini";

std::mutex g_systemDirMutex;
std::string g_systemDirOverride;

void logConfig(const std::string& text)
{
    DVLogicsLogger::LogMessage(kPrefix + text, DVCONFIG, DVLOGICSLOG);
}

bool canRead(const std::string& path)
{
    FILE* file = fopen(path.c_str(), "r");
    if (!file) {
        logConfig("Settings file \"" + path + "\" can't be opened for reading.");
        return false;
    }
    fclose(file);
    return true;
}

std::string findConfigFile()
{
    if (const char* dir = getenv("DVCONFIG")) {
        logConfig(dvFormat("Read environment variable DVCONFIG: %s", dir));
        const std::string path = std::string(dir) + "/" + kFileName;
        logConfig("First settings file location (the DVCONFIG environment variable directory): " + path);
        if (canRead(path))
            return path;
    } else {
        logConfig("Environment variable DVCONFIG is not defined");
    }

    const std::string local = std::string(".") + "/" + kFileName;
    logConfig("Second settings file location (the application directory): " + local);
    if (canRead(local))
        return local;

    const std::string system = dvSystemConfigDir() + kFileName;
    logConfig(std::string("Third settings file location (") + "the Dravik config directory" + "): " + system);
    if (canRead(system))
        return system;

    // A fourth place, the Windows directory, does not exist on this platform.
    return std::string();
}

} // namespace

std::string dvSystemConfigDir()
{
    std::lock_guard<std::mutex> lock(g_systemDirMutex);
    return g_systemDirOverride.empty() ? std::string("/etc/dravik/") : g_systemDirOverride;
}

void dvSetSystemConfigDirForTesting(const char* dir)
{
    std::lock_guard<std::mutex> lock(g_systemDirMutex);
    g_systemDirOverride = dir ? dir : "";
}

std::string getIniFileSettings(CDVSettings& settings)
{
    const std::string path = findConfigFile();
    if (!path.empty())
        logConfig("About to read settings from configuration file: " + path);
    else
        logConfig("About to assign default settings since no configuration file was found.");

    // With no file every key reads as absent and takes its default.
    CIniFile file(path);
    file.ReadFile();

    for (int i = 0; i < SETTINGS_COUNT; ++i) {
        const SETTINGTYPES type = static_cast<SETTINGTYPES>(i);
        const SettingInfo& info = settingInfo(type);
        const char* origin = " (from ini file)";
        std::string shown;
        if (info.kind == SETTING_STRING) {
            char buffer[128];
            GetPrivateProfileString(info.section, info.iniKey, "", buffer, sizeof buffer, file);
            std::string value = buffer;
            if (value.empty())
                origin = " (default value)";
            settings.SetSettingStr(type, value);
            shown = value;
        } else {
            int value = GetPrivateProfileInt(info.section, info.iniKey, -1, file);
            if (value == -1) { // absent (an explicit -1 counts as absent too)
                value = info.defaultValue;
                origin = " (default value)";
            }
            if (info.kind == SETTING_INT) {
                settings.SetSettingInt(type, value);
                shown = std::to_string(value);
            } else {
                const bool flag = value != 0;
                settings.SetSettingBool(type, flag);
                shown = flag ? "1" : "0";
            }
        }
        logConfig(std::string(info.iniKey) + ": " + shown + origin);
    }
    return path;
}
