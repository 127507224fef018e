// Fuzz target: the INI reader with the configuration and language files.
//
// Input: one mode byte, one size byte, then the file text.
//   mode 0  the text is parsed in memory; the profile readers must agree
//           with the parsed values and never write past the buffer they get
//           (an exact-size heap block of 1 to 32 bytes).
//   mode 1  the text is dvlogics.ini; reading it must give every setting the
//           value the readers find, or the built-in default.
//   mode 2  the text is dvlang.ini; every caller-facing text the frame uses,
//           and the texts handed to the error and level callbacks, must come
//           out translated, with "%%" turned into "%", nothing else
//           interpreted, and cut to the documented buffer sizes.
#include "fuzzsupport.h"

#include "config/cdvsettings.h"
#include "config/dvconfigfile.h"
#include "config/inifile.h"
#include "events/dvevents.h"
#include "session/dvstate.h"
#include "support/dvlangsupport.h"
#include "support/dvtext.h"

#include <cctype>
#include <climits>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

const size_t kMaxInput = 1 << 16;

const char* const kKeys[][2] = {
    {"Operation", "PayOutAmountPerTimeLimitAmount"}, {"Operation", "AskPayOutAmountLimit"},
    {"Operation", "StatusOkTimeout"},                {"Operation", "CurrencyDecimals"},
    {"Events", "ForwardCallbackChangeOnly"},         {"Events", "LevelWarningFilter"},
    {"Logging", "LogDebug"},                         {"Lang", "Not initiated"},
    {"Lang", "Done"},                                {"Lang", "Error Code 7"},
};

// Texts of the frame and of the events, as keys of dvlang.ini.
const char* const kTexts[] = {"Not initiated", "portSettings is empty", "Already initiated",
                              "Port type not implemented", "portSettings invalid", "unknown durationType",
                              "open parameter is null", "amountRest parameter is null", "Done", "Busy",
                              "Closed", "Send failed", "Timed out", "Dravik has error(s)", "Not Supported"};

std::string upper(std::string s)
{
    for (char& c : s)
        c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    return s;
}

void writeFile(const std::string& path, const std::string& text)
{
    FILE* file = fopen(path.c_str(), "wb");
    FUZZ_CHECK(file != nullptr);
    FUZZ_CHECK(fwrite(text.data(), 1, text.size(), file) == text.size());
    fclose(file);
}

void parseInMemory(const std::string& text, size_t bufferSize)
{
    CIniFile file;
    file.Parse(text);
    for (const auto& key : kKeys) {
        const bool has = file.HasValue(key[0], key[1]);
        const std::string value = file.GetValue(key[0], key[1], "\x01");
        if (!has)
            FUZZ_CHECK(value == "\x01");
        // Names match without regard to case.
        FUZZ_CHECK(file.GetValue(upper(key[0]), upper(key[1]), "\x01") == value);

        std::unique_ptr<char[]> buffer(new char[bufferSize]);
        const size_t n = GetPrivateProfileString(key[0], key[1], "default", buffer.get(), bufferSize, file);
        FUZZ_CHECK(n < bufferSize && buffer[n] == '\0' && strlen(buffer.get()) == n);
        const std::string expected = has ? value : "default";
        FUZZ_CHECK(expected.compare(0, n, buffer.get(), n) == 0);

        const int number = GetPrivateProfileInt(key[0], key[1], -7, file);
        if (!has || value.empty()) {
            FUZZ_CHECK(number == -7);
        } else {
            const long parsed = strtol(value.c_str(), nullptr, 10);
            FUZZ_CHECK(number == (parsed > INT_MAX ? INT_MAX : parsed < INT_MIN ? INT_MIN : parsed));
        }
    }
}

void readConfiguration(const std::string& dir, const std::string& text)
{
    const std::string path = dir + "/dvlogics.ini";
    writeFile(path, text);
    CDVSettings settings;
    FUZZ_CHECK(getIniFileSettings(settings) == path);
    CIniFile file(path);
    FUZZ_CHECK(file.ReadFile());
    for (int i = 0; i < SETTINGS_COUNT; ++i) {
        const SETTINGTYPES type = static_cast<SETTINGTYPES>(i);
        const SettingInfo& info = settingInfo(type);
        if (info.kind == SETTING_STRING) {
            char buffer[128];
            GetPrivateProfileString(info.section, info.iniKey, "", buffer, sizeof buffer, file);
            FUZZ_CHECK(settings.GetSettingStr(type) == buffer);
            continue;
        }
        const int read = GetPrivateProfileInt(info.section, info.iniKey, -1, file);
        const int value = read == -1 ? info.defaultValue : read;
        if (info.kind == SETTING_INT)
            FUZZ_CHECK(settings.GetSettingInt(type) == value);
        else
            FUZZ_CHECK(settings.GetSettingBool(type) == (value != 0));
    }
    unlink(path.c_str());
}

// A value as a C text sees it: a NUL byte ends it.
std::string asText(const std::string& value)
{
    return value.substr(0, value.find('\0'));
}

std::string translated(const CIniFile& file, const char* key)
{
    // A value that reads as empty text (also one starting with a NUL byte)
    // leaves the English text.
    const std::string value = file.GetValue("Lang", key, "");
    return value.c_str()[0] == '\0' ? key : value;
}

void onError(int, char* text, char* ext)
{
    FUZZ_CHECK(dvfuzz::terminatedWithin(text, DV_ERROR_TEXT_SIZE));
    FUZZ_CHECK(dvfuzz::terminatedWithin(ext, DV_LEVEL_EXTINFO_SIZE));
}

void onWarning(short, long, short, char* type, char* value, char* warning, char* ext)
{
    FUZZ_CHECK(dvfuzz::terminatedWithin(type, DV_LEVEL_TYPE_SIZE));
    FUZZ_CHECK(dvfuzz::terminatedWithin(value, DV_LEVEL_DENOMINATION_SIZE));
    FUZZ_CHECK(dvfuzz::terminatedWithin(warning, DV_LEVEL_WARNING_SIZE));
    FUZZ_CHECK(dvfuzz::terminatedWithin(ext, DV_LEVEL_EXTINFO_SIZE));
}

std::string g_lastErrorText;
void recordError(int code, char* text, char* ext)
{
    onError(code, text, ext);
    g_lastErrorText = text;
}

void readLanguage(const std::string& dir, const std::string& text)
{
    const std::string path = dir + "/dvlang.ini";
    writeFile(path, text);
    DVLangSupport::ResetForTesting();
    CIniFile file(path);
    FUZZ_CHECK(file.ReadFile());
    for (const char* key : kTexts) {
        const std::string expected = translated(file, key);
        FUZZ_CHECK(DVLangSupport::getText(key) == expected);
        std::unique_ptr<char[]> message(new char[DV_MESSAGE_SIZE]);
        dvSetMessage(message.get(), key, DV_MESSAGE_SIZE);
        FUZZ_CHECK(message.get() == asText(dvUnescapePercent(expected)).substr(0, DV_MESSAGE_SIZE - 1));
    }
    FUZZ_CHECK(DVLangSupport::getIniFilePath() == path);

    g_fErrorCallback = &recordError;
    g_fLevelWarningCallback = &onWarning;
    g_nLoggSendEvents = 1;
    g_nCurrencyDecimals = 2;
    FUZZ_CHECK(sendErrorEvent("NOTE JAM      07") == 0);
    FUZZ_CHECK(g_lastErrorText ==
               asText(dvUnescapePercent(translated(file, "Error Code 7"))).substr(0, DV_ERROR_TEXT_SIZE - 1));
    FUZZ_CHECK(sendCashLevelEvent("05 10 EUR       ") == 0);
    FUZZ_CHECK(sendCashLevelEvent("100 EUR         ") == 0);
    g_fErrorCallback = nullptr;
    g_fLevelWarningCallback = nullptr;

    unlink(path.c_str());
    DVLangSupport::ResetForTesting();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    dvfuzz::isolate();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxInput)
        return 0;
    dvfuzz::Input in(data, size);
    const uint8_t mode = in.byte() % 3;
    const size_t bufferSize = 1 + in.byte() % 32;
    const std::string text = in.rest();
    const std::string& dir = dvfuzz::isolate();
    if (mode == 0)
        parseInMemory(text, bufferSize);
    else if (mode == 1)
        readConfiguration(dir, text);
    else
        readLanguage(dir, text);
    return 0;
}
