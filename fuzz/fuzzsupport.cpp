#include "fuzzsupport.h"

#include "config/dvconfigfile.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace dvfuzz {

namespace {

std::string g_root;

void removeRoot()
{
    if (g_root.empty())
        return;
    const std::string command = "rm -rf '" + g_root + "'";
    if (system(command.c_str()) != 0) {
    }
}

} // namespace

const std::string& isolate()
{
    static std::string config;
    if (!config.empty())
        return config;
    char pattern[] = "/tmp/dvfuzz.XXXXXX";
    if (!mkdtemp(pattern))
        abort();
    g_root = pattern;
    atexit(removeRoot);

    const std::string logs = g_root + "/logs";
    config = g_root + "/config";
    if (mkdir(logs.c_str(), 0700) != 0 || mkdir(config.c_str(), 0700) != 0)
        abort();
    static const char* const periods[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun", "Jan", "Feb", "Mar",
                                          "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (const char* base : {"dvapi", "dvlogic", "dverror"})
        for (const char* period : periods) {
            const std::string link = logs + "/" + base + "_" + period + ".log";
            if (symlink("/dev/null", link.c_str()) != 0)
                abort();
        }
    setenv("DVLOGS", logs.c_str(), 1);
    setenv("DVCONFIG", config.c_str(), 1);
    if (chdir(config.c_str()) != 0)
        abort();
    dvSetSystemConfigDirForTesting((config + "/").c_str());
    DVLogicsLogger::ResetForTesting();
    DVLangSupport::ResetForTesting();
    return config;
}

std::unique_ptr<char[]> cText(const uint8_t* data, size_t size)
{
    std::unique_ptr<char[]> text(new char[size + 1]);
    if (size)
        memcpy(text.get(), data, size);
    text[size] = '\0';
    return text;
}

bool terminatedWithin(const char* text, size_t capacity)
{
    return text && memchr(text, '\0', capacity) != nullptr;
}

} // namespace dvfuzz
