// Tagged settings texts, the settings store, the INI reader and the search
// for dvlogics.ini.
#include "fakeclock.h"
#include "testutil.h"

#include "config/cdvsettings.h"
#include "config/dvconfigfile.h"
#include "config/dvfunctions.h"
#include "config/inifile.h"
#include "support/dvlogicslogger.h"

#include <gtest/gtest.h>

#include <unistd.h>

using dvtest::TempDir;

namespace {

// --- tagged settings texts ----------------------------------------------------

TEST(SettingsTag, FindsTheValueUpToTheNextSemicolonOrTheEnd)
{
    std::string message = "untouched";
    EXPECT_EQ(getSettingsTag("B:", "A:1;B:22;C:3", message), "22");
    EXPECT_EQ(getSettingsTag("C:", "A:1;B:22;C:3", message), "3");
    EXPECT_EQ(message, "untouched");
}

TEST(SettingsTag, FirstOccurrenceWinsEvenInsideAnotherField)
{
    std::string message;
    EXPECT_EQ(getSettingsTag("Check:", "PayOutOkCheck:1;Check:2", message), "1");
    EXPECT_EQ(getSettingsTag("X:", "X:1;X:2", message), "1");
}

TEST(SettingsTag, EmptyFieldTakesTheWholeRemainder)
{
    std::string message;
    EXPECT_EQ(getSettingsTag("AutoDisable:", "AutoDisable:;LegacySystem:1", message), ";LegacySystem:1");
}

TEST(SettingsTag, FailuresGiveTheSentinelAndTheirMessage)
{
    const struct {
        const char* tag;
        const char* settings;
        const char* message;
    } cases[] = {
        {"A:", "", "getSettingsTag: Input string too small"},
        {"Z:", "A:1", "getSettingsTag: Field name not found."},
        {"A:", "B:1;A:", "getSettingsTag: Find field value failed."},
        {"a:", "A:1", "getSettingsTag: Field name not found."}, // case-sensitive
    };
    for (const auto& c : cases) {
        std::string message;
        EXPECT_EQ(getSettingsTag(c.tag, c.settings, message), "GETSETTINGSTAGINVALID") << c.settings;
        EXPECT_EQ(message, c.message);
    }
}

TEST(SettingsTag, StringToIntRules)
{
    const struct {
        const char* text;
        int value;
        const char* message;
    } cases[] = {
        {"", -1, "stringToInt: Empty string"},
        {"0", 0, "stringToInt: Zero string value, Ok"},
        {"000", 0, "stringToInt: Zero string value, Ok"},
        {"-1", -1, "stringToInt: Non-zero string value, Ok"},
        {"-0", -1, "stringToInt: inparam non-numeric"},
        {"+0", -1, "stringToInt: inparam non-numeric"},
        {"12abc", 12, "stringToInt: Non-zero string value, Ok"},
        {"abc", -1, "stringToInt: inparam non-numeric"},
        {" 5", 5, "stringToInt: Non-zero string value, Ok"},
        {"99999999999999999999", -1, "stringToInt: Non-zero string value, Ok"}, // cut to int like atoi
    };
    for (const auto& c : cases) {
        std::string message;
        EXPECT_EQ(stringToInt(c.text, message), c.value) << c.text;
        EXPECT_EQ(message, c.message) << c.text;
    }
}

TEST(SettingsTag, IntOfAMissingFieldIsMinusOne)
{
    std::string message;
    EXPECT_EQ(getSettingsTagInt("A:", "B:1", message), -1);
    EXPECT_EQ(message, "getSettingsTag: Field name not found.");
    EXPECT_EQ(getSettingsTagInt("A:", "A:007", message), 7);
}

// --- settings store -------------------------------------------------------------

class SettingsStoreTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::setEnv("DVLOGS", dir.path().c_str());
        dvtest::useFakeClock(dvtest::kMon20261116_090507);
        DVLogicsLogger::ResetForTesting();
    }
    std::vector<std::string> configLines() const
    {
        std::vector<std::string> lines;
        for (const auto& line : dvtest::readLines(dir.file("dvlogic_Mon.log")))
            lines.push_back(line.substr(line.find("## ") + 3));
        return lines;
    }
    TempDir dir;
    CDVSettings settings;
};

TEST_F(SettingsStoreTest, DefaultsAsBuilt)
{
    const int ints[] = {0, 60, 4900, 0, 0, 0, 10, 2, 0, 0, 1};
    for (int i = 0; i <= FORWARDCALLBACKCHANGEONLY; ++i)
        EXPECT_EQ(settings.GetSettingInt(static_cast<SETTINGTYPES>(i)), ints[i]) << i;
    EXPECT_EQ(settings.GetSettingInt(LOGGEVERYCALLBACK), 0);
    EXPECT_EQ(settings.GetSettingInt(LOGGSENDEVENTS), 1);
    EXPECT_EQ(settings.GetSettingStr(LEVELWARNINGFILTER), "");
    for (int i = LOGCRTOCAPI; i <= LOGDEBUG; ++i)
        EXPECT_TRUE(settings.GetSettingBool(static_cast<SETTINGTYPES>(i)));
    EXPECT_EQ(settings.GetDurationType(), 0);
}

TEST_F(SettingsStoreTest, GettersOfTheWrongKindGiveNothing)
{
    EXPECT_EQ(settings.GetSettingInt(LEVELWARNINGFILTER), 0);
    EXPECT_FALSE(settings.GetSettingBool(AUTODISABLE));
    EXPECT_EQ(settings.GetSettingStr(AUTODISABLE), "");
    settings.SetSettingInt(LOGDEBUG, 0);
    EXPECT_TRUE(settings.GetSettingBool(LOGDEBUG));
}

TEST_F(SettingsStoreTest, NewSettingsAppliesAndLogsEachTag)
{
    settings.NewSettings("AutoDisable:1;LogDebug:7;AskPayOutAmountLimit:-5;LevelWarningFilter:20261116:1000", 0);
    EXPECT_EQ(settings.GetSettingInt(AUTODISABLE), 1);
    EXPECT_TRUE(settings.GetSettingBool(LOGDEBUG));
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 4900); // negative: ignored silently
    EXPECT_EQ(settings.GetSettingStr(LEVELWARNINGFILTER), "20261116:1000");
    const std::vector<std::string> expected = {
        "CDVSettings::NewSettings: Setting new AutoDisable: 1",
        "CDVSettings::NewSettings: Setting new LevelWarningFilter: 20261116:1000",
        "CDVSettings::NewSettings: Setting new LogDebug: 7",
    };
    EXPECT_EQ(configLines(), expected);
}

TEST_F(SettingsStoreTest, TextWithoutKnownTagsChangesNothing)
{
    settings.NewSettings("Nothing:1", 0);
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 4900);
    const std::vector<std::string> expected = {
        "CDVSettings::NewSettings: Failed to get LevelWarningFilter, with error message: "
        "getSettingsTag: Field name not found."};
    EXPECT_EQ(configLines(), expected);
    settings.NewSettings(nullptr, 0); // null is empty
    EXPECT_EQ(configLines().back(), "CDVSettings::NewSettings: Failed to get LevelWarningFilter, with error "
                                    "message: getSettingsTag: Input string too small");
}

TEST_F(SettingsStoreTest, TemporaryChangeIsRestored)
{
    settings.NewSettings("AskPayOutAmountLimit:100;LevelWarningFilter:x;LogCAPIToCom:0", 1);
    EXPECT_EQ(settings.GetDurationType(), 1);
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 100);
    EXPECT_FALSE(settings.GetSettingBool(LOGCAPITOCOM));
    settings.RestoreSettings();
    EXPECT_EQ(settings.GetDurationType(), 0);
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 4900);
    EXPECT_EQ(settings.GetSettingStr(LEVELWARNINGFILTER), "");
    EXPECT_TRUE(settings.GetSettingBool(LOGCAPITOCOM));
    const auto lines = configLines();
    EXPECT_EQ(lines[lines.size() - 3], "CDVSettings::RestoreSettings: Restored AskPayOutAmountLimit: 4900");
    EXPECT_EQ(lines[lines.size() - 2], "CDVSettings::RestoreSettings: Restored LevelWarningFilter: ");
    EXPECT_EQ(lines[lines.size() - 1], "CDVSettings::RestoreSettings: Restored LogCAPIToCom: 1");
}

TEST_F(SettingsStoreTest, TwoTemporaryChangesRestoreOnlyToTheFirst)
{
    settings.NewSettings("AskPayOutAmountLimit:100", 1);
    settings.NewSettings("AskPayOutAmountLimit:200", 1);
    settings.RestoreSettings();
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 100);
}

TEST_F(SettingsStoreTest, PermanentChangeIsStillRestoredAfterALaterTemporaryOne)
{
    settings.NewSettings("AskPayOutAmountLimit:100", 0);
    settings.NewSettings("StatusOkTimeout:3", 1);
    settings.RestoreSettings();
    EXPECT_EQ(settings.GetSettingInt(STATUSOKTIMEOUT), 10);
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 4900); // the permanent change went too
}

TEST_F(SettingsStoreTest, PermanentChangeClearsPendingRestores)
{
    settings.NewSettings("AskPayOutAmountLimit:100", 1);
    settings.NewSettings("StatusOkTimeout:3", 0);
    settings.RestoreSettings();
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 100);
    EXPECT_EQ(settings.GetSettingInt(STATUSOKTIMEOUT), 10);
}

TEST_F(SettingsStoreTest, PayOutOkCheckRestoreClearsTheRegretOkCheckFlagInstead)
{
    settings.NewSettings("PayOutOkCheck:1;RegretOkCheck:1", 1);
    settings.RestoreSettings();
    EXPECT_EQ(settings.GetSettingInt(PAYOUTOKCHECK), 0);
    EXPECT_EQ(settings.GetSettingInt(REGRETOKCHECK), 1); // not put back

    // PayOutOkCheck's own flag stayed set: it is put back at every restore.
    settings.SetSettingInt(PAYOUTOKCHECK, 5);
    settings.RestoreSettings();
    EXPECT_EQ(settings.GetSettingInt(PAYOUTOKCHECK), 0);
    EXPECT_EQ(configLines().back(), "CDVSettings::RestoreSettings: Restored PayOutOkCheck: 0");
}

// --- INI reader ------------------------------------------------------------------

TEST(IniFile, NamesIgnoreCaseBlanksAreTrimmedAndCommentsDropped)
{
    CIniFile ini;
    ini.Parse("; leading comment\n"
              "[Operation]\r\n"
              "  payoutokcheck =  1  ; inline\n"
              "Filter=20261116:1000#tail\n"
              "Spaced = a ;b\n"
              "Quoted = \"  keep ; this \"\n"
              "# another\n"
              "PayOutOkCheck = 2\n"
              "novalue\n"
              "[ lang ]\n"
              "Dravik has error(s) = Dravik meldet Fehler\n");
    EXPECT_EQ(ini.GetValue("OPERATION", "PayOutOkCheck"), "1"); // first one wins
    EXPECT_EQ(ini.GetValue("operation", "filter"), "20261116:1000#tail");
    EXPECT_EQ(ini.GetValue("operation", "spaced"), "a");
    EXPECT_EQ(ini.GetValue("operation", "quoted"), "  keep ; this ");
    EXPECT_EQ(ini.GetValue("Lang", "dravik has error(s)"), "Dravik meldet Fehler");
    EXPECT_EQ(ini.GetValue("Lang", "missing", "def"), "def");
    EXPECT_EQ(ini.Comments().size(), 2u);
    EXPECT_EQ(ini.NumKeys("operation"), 4u);
}

TEST(IniFile, ProfileReadersTakeDefaultsForAbsentOrEmptyKeys)
{
    CIniFile ini;
    ini.Parse("[S]\nA=12abc\nB=abc\nC=\nD=-1\nE=99999999999\nF=toolongvalue\n");
    EXPECT_EQ(GetPrivateProfileInt("S", "A", -1, ini), 12);
    EXPECT_EQ(GetPrivateProfileInt("S", "B", -1, ini), 0);
    EXPECT_EQ(GetPrivateProfileInt("S", "C", -1, ini), -1);
    EXPECT_EQ(GetPrivateProfileInt("S", "D", 7, ini), -1);
    EXPECT_EQ(GetPrivateProfileInt("S", "E", -1, ini), 2147483647);
    EXPECT_EQ(GetPrivateProfileInt("S", "Z", 7, ini), 7);
    char buffer[5];
    EXPECT_EQ(GetPrivateProfileString("S", "F", "", buffer, sizeof buffer, ini), 4u);
    EXPECT_STREQ(buffer, "tool");
    EXPECT_EQ(GetPrivateProfileInt("S", "A", 3, "/nonexistent/file.ini"), 3);
}

TEST(IniFile, BinaryAndHugeInputIsHandled)
{
    TempDir dir;
    std::string binary;
    for (int i = 0; i < 4096; ++i)
        binary += static_cast<char>(i * 7 % 256);
    dvtest::writeFile(dir.file("bin.ini"), binary);
    CIniFile a(dir.file("bin.ini"));
    EXPECT_TRUE(a.ReadFile());

    dvtest::writeFile(dir.file("huge.ini"), "[S]\n" + std::string(3 * 1024 * 1024, 'x') + "\nK=1\n");
    CIniFile b(dir.file("huge.ini"));
    EXPECT_TRUE(b.ReadFile());
    EXPECT_FALSE(b.HasValue("S", "K")); // beyond the 1 MiB that is read
}

// --- dvlogics.ini search -----------------------------------------------------------

class ConfigFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::setEnv("DVLOGS", logs.path().c_str());
        dvtest::setEnv("DVCONFIG", nullptr);
        dvtest::useFakeClock(dvtest::kMon20261116_090507);
        DVLogicsLogger::ResetForTesting();
        ASSERT_EQ(chdir(cwd.path().c_str()), 0);
        dvSetSystemConfigDirForTesting((system.path() + "/").c_str());
    }
    void TearDown() override
    {
        dvSetSystemConfigDirForTesting(nullptr);
        ASSERT_EQ(chdir("/tmp"), 0);
    }

    std::vector<std::string> lines() const
    {
        std::vector<std::string> out;
        for (const auto& line : dvtest::readLines(logs.file("dvlogic_Mon.log")))
            out.push_back(line.substr(line.find("## CDVLogics::getIniFileSettings: ") + 34));
        return out;
    }

    TempDir logs, cwd, system, config;
    CDVSettings settings;
};

TEST_F(ConfigFileTest, SearchGoesDvconfigThenCurrentDirectoryThenSystemDirectory)
{
    dvtest::setEnv("DVCONFIG", config.path().c_str());
    dvtest::writeFile(system.file("dvlogics.ini"), "[Operation]\nPayOutOkCheck=1\n");
    EXPECT_EQ(getIniFileSettings(settings), system.file("dvlogics.ini"));
    EXPECT_EQ(settings.GetSettingInt(PAYOUTOKCHECK), 1);

    const auto log = lines();
    const std::vector<std::string> head = {
        "Read environment variable DVCONFIG: " + config.path(),
        "First settings file location (the DVCONFIG environment variable directory): " + config.file("dvlogics.ini"),
        "Settings file \"" + config.file("dvlogics.ini") + "\" can't be opened for reading.",
        "Second settings file location (the application directory): ./dvlogics.ini",
        "Settings file \"./dvlogics.ini\" can't be opened for reading.",
        "Third settings file location (the Dravik config directory): " + system.file("dvlogics.ini"),
        "About to read settings from configuration file: " + system.file("dvlogics.ini"),
    };
    ASSERT_GE(log.size(), head.size());
    EXPECT_EQ(std::vector<std::string>(log.begin(), log.begin() + head.size()), head);
}

TEST_F(ConfigFileTest, CurrentDirectoryIsUsedWhenDvconfigHasNoFile)
{
    dvtest::setEnv("DVCONFIG", config.path().c_str());
    dvtest::writeFile(cwd.file("dvlogics.ini"), "[Operation]\nAskPayOutAmountLimit=100\n");
    dvtest::writeFile(system.file("dvlogics.ini"), "[Operation]\nAskPayOutAmountLimit=200\n");
    EXPECT_EQ(getIniFileSettings(settings), "./dvlogics.ini");
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 100);
    EXPECT_EQ(lines()[4], "About to read settings from configuration file: ./dvlogics.ini");
}

TEST_F(ConfigFileTest, WithoutAnyFileEveryKeyTakesItsDefault)
{
    EXPECT_EQ(getIniFileSettings(settings), "");
    const std::vector<std::string> expected = {
        "Environment variable DVCONFIG is not defined",
        "Second settings file location (the application directory): ./dvlogics.ini",
        "Settings file \"./dvlogics.ini\" can't be opened for reading.",
        "Third settings file location (the Dravik config directory): " + system.file("dvlogics.ini"),
        "Settings file \"" + system.file("dvlogics.ini") + "\" can't be opened for reading.",
        "About to assign default settings since no configuration file was found.",
        "PayOutAmountPerTimeLimitAmount: 0 (default value)",
        "PayOutAmountPerTimeLimitSeconds: 60 (default value)",
        "AskPayOutAmountLimit: 4900 (default value)",
        "PayOutOkCheck: 0 (default value)",
        "ChangeOkCheck: 0 (default value)",
        "RegretOkCheck: 0 (default value)",
        "StatusOkTimeout: 10 (default value)",
        "CurrencyDecimals: 2 (default value)",
        "LegacySystem: 0 (default value)",
        "AutoDisable: 0 (default value)",
        "ForwardCallbackChangeOnly: 1 (default value)",
        "LevelWarningFilter:  (default value)",
        "LoggEveryCallback: 0 (default value)",
        "LoggSendEvents: 1 (default value)",
        "LogCRToCAPI: 1 (default value)",
        "LogCAPIToCR: 1 (default value)",
        "LogComToCAPI: 1 (default value)",
        "LogCAPIToCom: 1 (default value)",
        "LogDebug: 1 (default value)",
    };
    EXPECT_EQ(lines(), expected);
}

TEST_F(ConfigFileTest, ValuesFromTheFileAndTheirOrigins)
{
    dvtest::writeFile(cwd.file("dvlogics.ini"),
                      "[Operation]\nAskPayOutAmountLimit=-1\nCurrencyDecimals=3\n"
                      "[Events]\nLevelWarningFilter = 20261116:1000,20261201:500\n"
                      "[Logging]\nLogDebug=0\nLogCRToCAPI=5\nloggsendevents=0\n");
    getIniFileSettings(settings);
    EXPECT_EQ(settings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT), 4900);
    EXPECT_EQ(settings.GetSettingInt(CURRENCYDECIMALS), 3);
    EXPECT_EQ(settings.GetSettingStr(LEVELWARNINGFILTER), "20261116:1000,20261201:500");
    EXPECT_FALSE(settings.GetSettingBool(LOGDEBUG));
    EXPECT_TRUE(settings.GetSettingBool(LOGCRTOCAPI));
    EXPECT_EQ(settings.GetSettingInt(LOGGSENDEVENTS), 0);

    const auto log = lines();
    auto has = [&](const std::string& line) { return std::find(log.begin(), log.end(), line) != log.end(); };
    EXPECT_TRUE(has("AskPayOutAmountLimit: 4900 (default value)"));
    EXPECT_TRUE(has("CurrencyDecimals: 3 (from ini file)"));
    EXPECT_TRUE(has("LevelWarningFilter: 20261116:1000,20261201:500 (from ini file)"));
    EXPECT_TRUE(has("LogDebug: 0 (from ini file)"));
    EXPECT_TRUE(has("LogCRToCAPI: 1 (from ini file)"));
    EXPECT_TRUE(has("LoggSendEvents: 0 (from ini file)"));
}

} // namespace
