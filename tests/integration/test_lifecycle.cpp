// Bringing a session up and down: registration, init, settings, exit, and
// unloading the library.
#include "harness.h"

#include <atomic>
#include <chrono>
#include <thread>

using namespace dvtest;

namespace {

const char* const kBanner = "## ==============================================================";

using LifecycleTest = IntegrationTest;

std::vector<std::string> defaultSettingLines()
{
    const char* lines[] = {
        "PayOutAmountPerTimeLimitAmount: 0", "PayOutAmountPerTimeLimitSeconds: 60", "AskPayOutAmountLimit: 4900",
        "PayOutOkCheck: 0", "ChangeOkCheck: 0", "RegretOkCheck: 0", "StatusOkTimeout: 10", "CurrencyDecimals: 2",
        "LegacySystem: 0", "AutoDisable: 0", "ForwardCallbackChangeOnly: 1", "LevelWarningFilter: ",
        "LoggEveryCallback: 0", "LoggSendEvents: 1", "LogCRToCAPI: 1", "LogCAPIToCR: 1", "LogComToCAPI: 1",
        "LogCAPIToCom: 1", "LogDebug: 1"};
    std::vector<std::string> out;
    for (const char* line : lines)
        out.push_back(std::string("## CDVLogics::getIniFileSettings: ") + line + " (default value)");
    return out;
}

TEST_F(LifecycleTest, SuccessfulInitAndExitWriteExactlyTheseLines)
{
    writeConfig("; nothing set\n");
    ASSERT_EQ(init(), 0) << msg;
    EXPECT_STREQ(msg, "Done");

    std::vector<std::string> expected = {
        kBanner,
        "## Library Name: libdvlogics.so",
        "## Library Version: Version: 2.4.2.5",
        kBanner,
        "## dvlang.ini Path: ",
        "## CDVLogics::getIniFileSettings: Read environment variable DVCONFIG: " + config.path(),
        "## CDVLogics::getIniFileSettings: First settings file location (the DVCONFIG environment variable "
        "directory): " + config.file("dvlogics.ini"),
        "## CDVLogics::getIniFileSettings: About to read settings from configuration file: " +
            config.file("dvlogics.ini"),
    };
    for (const std::string& line : defaultSettingLines())
        expected.push_back(line);
    for (const char* line : {
             "## CDVLogics::init, supplied parameter portSettings: Type:RS232;Name:sim",
             "## CDVLogics::init, supplied parameter initSettings: ",
             "== CDVLogics::initialize: strPortSettings: Type:RS232;Name:sim",
             "== CDVLogics::initialize: PortName: sim",
             "== CLinkora::initialize: Calling loadTheComLibrary",
             "== CLinkora::loadTheComLibrary: Calling dlopen(liblinkora.so.1, RTLD_NOW | RTLD_NODELETE | RTLD_GLOBAL)",
             "== CLinkora::loadTheComLibrary: Completed dlopen(liblinkora.so.1, RTLD_NOW | RTLD_NODELETE | "
             "RTLD_GLOBAL)",
             "== CLinkora::initialize: Calling my_dv_initiate",
             "== CLinkora::initialize: returning DV_STATUS_OK",
         })
        expected.push_back(line);
    std::vector<std::string> got = linesFrom(logicLog(), "=> CDVLogics::init called");
    got.resize(std::min(got.size(), expected.size()));
    EXPECT_EQ(got, expected);
    EXPECT_TRUE(hasLine(apiLog(), "=> initDV(Type:RS232;Name:sim, , message)"));
    EXPECT_TRUE(hasLine(apiLog(), "== initDV: Ok! Returning 0 (DV_STATUS_OK): Done"));

    settle();
    ASSERT_EQ(dv().exitDV(msg), 0) << msg;
    const std::vector<std::string> exitLines = {
        "== CDVLogics::exit(): Calling the exit function which will uninitiate the underlying communication layer.",
        "== CLinkora::exit: Calling my_dv_dini",
        "== CLinkora::exit: Calling freeTheComLibrary",
        "== CLinkora::exit: Done, returning DV_STATUS_OK",
        "== CDVLogics::exit: setting callback functions to 0.",
        "== CDVLogics::exit: done setting callback functions to 0.",
        "== CDVLogics::exit: setting m_bInitiated = false and g_DVState = DVS_UNINITIATED",
        "== CDVLogics::exit: returning ok",
    };
    EXPECT_EQ(linesFrom(logicLog(), "=> CDVLogics::exit()"), exitLines);
    EXPECT_TRUE(hasLine(apiLog(), "== exitDV: Ok! Returning 0 (DV_STATUS_OK): Done"));
}

// The logging flags of dvlogics.ini switch the session's lines off; the
// configuration lines are always written.
TEST_F(LifecycleTest, LoggingFlagsFromTheConfigurationFile)
{
    writeConfig("[Logging]\nLogDebug=0\nLogComToCAPI=0\n");
    ASSERT_EQ(init(), 0) << msg;
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    settle();
    EXPECT_TRUE(hasLine(logicLog(), "## CDVLogics::getIniFileSettings: LogDebug: 0 (from ini file)"));
    std::vector<std::string> afterConfig;
    bool configDone = false;
    for (const auto& line : readLines(logicLog())) {
        if (line.find("LogDebug: 0 (from ini file)") != std::string::npos)
            configDone = true;
        else if (configDone)
            afterConfig.push_back(line);
    }
    ASSERT_FALSE(afterConfig.empty());
    for (const auto& line : afterConfig) {
        EXPECT_EQ(line.find(" == "), std::string::npos) << line;
        EXPECT_EQ(line.find(" <- "), std::string::npos) << line;
    }
    EXPECT_FALSE(grep(logicLog(), " -> a").empty()); // commands are still logged
}

TEST_F(LifecycleTest, LoadAndUnloadWriteTheBanners)
{
    lib.unload();
    const std::vector<std::string> api = logged(apiLog());
    const std::vector<std::string> expected = {kBanner, "## C API Loaded", kBanner, kBanner, "## C API Unloaded",
                                               kBanner};
    EXPECT_EQ(api, expected);
    const std::vector<std::string> logic = logged(logicLog());
    const std::vector<std::string> expectedLogic = {
        "## Session Starting",
        kBanner,
        "## CDVLogics::CDVLogics",
        kBanner,
        kBanner,
        "## CDVLogics::~CDVLogics",
        kBanner,
        "## Session Ending",
        "== CDVLogics::~CDVLogics: Calling exitCom.",
        "=> CDVLogics::exit()",
        "!! CDVLogics::exit: Already de-initiated",
        "== CDVLogics::~CDVLogics: exitCom ans=Already de-initiated",
    };
    EXPECT_EQ(logic, expectedLogic);
}

TEST_F(LifecycleTest, SecondInitIsAWarningAndChangesNothing)
{
    ASSERT_EQ(init(), 0);
    Text port("Type:RS232;Name:other");
    EXPECT_EQ(dv().initDV(port, nullptr, msg), 3);
    EXPECT_STREQ(msg, "Already initiated");
    EXPECT_TRUE(hasLine(apiLog(), "!! initDV: Warning! Returning 3 (DV_STATUS_WARNING): Already initiated"));
    EXPECT_EQ(dvtest::grep(logicLog(), "CDVLogics::init called").size(), 1u);
}

TEST_F(LifecycleTest, InitNeedsStatusErrorAndALevelCallback)
{
    Text port("Type:RS232;Name:sim"), settings("AutoDisable:1");
    ASSERT_EQ(dv().registerEvents2DV(&Recorder::status, &Recorder::error, &Recorder::level, &Recorder::session, msg),
              0);
    ASSERT_EQ(dv().initDV(port, settings, msg), 0);
    ASSERT_EQ(dv().exitDV(msg), 0);

    // exit forgot the callbacks; the settings text was still read and applied.
    EXPECT_EQ(dv().initDV(port, settings, msg), 2);
    EXPECT_STREQ(msg, "No callback defined");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::init: No callback defined"));
    EXPECT_EQ(dvtest::grep(logicLog(), "## CDVSettings::NewSettings: Setting new AutoDisable: 1").size(), 2u);
    EXPECT_EQ(dv().loginDV(1, 1, msg), 2);
    EXPECT_STREQ(msg, "Not initiated");
}

TEST_F(LifecycleTest, PortNameChecks)
{
    ASSERT_EQ(dv().registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level, &Recorder::warning,
                                      &Recorder::session, msg),
              0);
    Text noName("Type:RS232");
    EXPECT_EQ(dv().initDV(noName, nullptr, msg), 2);
    EXPECT_STREQ(msg, "Invalid portname");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::initialize: Invalid portname"));
    EXPECT_TRUE(hasLine(apiLog(), "!! initDV: Failed! Returning 2: Invalid portname"));

    // A name tag with nothing after it is no name at all.
    Text lastName("Type:RS232;Name:");
    EXPECT_EQ(dv().initDV(lastName, nullptr, msg), 2);
    EXPECT_STREQ(msg, "Invalid portname");

    // An empty field takes the rest of the text as its value.
    Text emptyName("Type:RS232;Name:;");
    EXPECT_EQ(dv().initDV(emptyName, nullptr, msg), 0) << msg;
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::initialize: PortName: ;"));
}

TEST_F(LifecycleTest, ExitTwice)
{
    ASSERT_EQ(init(), 0);
    EXPECT_EQ(dv().exitDV(msg), 0);
    EXPECT_EQ(dv().exitDV(msg), 2);
    EXPECT_STREQ(msg, "Not initiated");
    EXPECT_TRUE(hasLine(apiLog(), "!! exitDV: Failed! Returning 2 (DV_STATUS_ERROR): Not initiated"));
}

TEST_F(LifecycleTest, InitAndExitCanBeRepeated)
{
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(init(), 0) << msg;
        ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
        ASSERT_EQ(dv().exitDV(msg), 0) << msg;
    }
}

// exitDV from inside a till callback: the link closes, but the library that
// is running the callback stays loaded.
const DvApi* g_api = nullptr;
std::atomic<int> g_exitResult{-1};

void exitingStatusCallback(int, short, short)
{
    if (g_exitResult.load() != -1)
        return;
    char message[DV_MESSAGE_SIZE];
    g_exitResult = g_api->exitDV(message);
}

TEST_F(LifecycleTest, ExitFromInsideACallbackKeepsTheLinkLoaded)
{
    g_api = &dv();
    ASSERT_EQ(dv().registerEventsDV(&exitingStatusCallback, &Recorder::error, &Recorder::level, msg), 0);
    Text port("Type:RS232;Name:sim");
    ASSERT_EQ(dv().initDV(port, nullptr, msg), 0);
    ASSERT_EQ(dvsim_inject_report("a0000000001"), DVSIM_OK);
    for (int i = 0; i < 200 && g_exitResult.load() == -1; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(g_exitResult.load(), 0);
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::exit: NOT calling freeTheComLibrary since we're currently "
                                    "processing (1) callback function(s) in that library."));
    EXPECT_FALSE(hasLine(logicLog(), "== CLinkora::exit: Calling freeTheComLibrary"));
    EXPECT_EQ(dv().loginDV(1, 1, msg), 2);
    EXPECT_STREQ(msg, "Not initiated");
    // The library can be opened again.
    ASSERT_EQ(init(), 0) << msg;
}

TEST_F(LifecycleTest, ExitWhileACallbackRunsWaitsForIt)
{
    static std::atomic<bool> inside{false}, release{false};
    auto slow = [](int, short, short) {
        inside = true;
        while (!release.load())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    ASSERT_EQ(dv().registerEventsDV(slow, &Recorder::error, &Recorder::level, msg), 0);
    Text port("Type:RS232;Name:sim");
    ASSERT_EQ(dv().initDV(port, nullptr, msg), 0);
    ASSERT_EQ(dvsim_inject_report("a0000000001"), DVSIM_OK);
    while (!inside.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::thread releaser([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        release = true;
    });
    EXPECT_EQ(dv().exitDV(msg), 0); // closing the link waits for the callback to return
    releaser.join();
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::exit: Calling freeTheComLibrary"));
}

TEST_F(LifecycleTest, UnloadingWhileTheDeviceStillReportsDoesNotCrash)
{
    initAndLogin();
    for (int i = 0; i < 200; ++i)
        dvsim_inject_report(i % 2 ? "a0000010001" : "a0000020011");
    lib.unload(); // no exitDV: the library closes the link itself
    dvsim_status status;
    dvsim_get_status(&status);
    EXPECT_EQ(status.link_open, 0);
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::~CDVLogics: exitCom ans=Done"));
}

TEST_F(LifecycleTest, UnloadingAfterExitDoesNotCrash)
{
    initAndLogin();
    for (int i = 0; i < 100; ++i)
        dvsim_inject_report("a0000010001");
    ASSERT_EQ(dv().exitDV(msg), 0);
    lib.unload();
    ASSERT_TRUE(lib.load(libraryPath()));
    ASSERT_EQ(init(), 0) << msg; // a fresh copy of the library starts from scratch
}

} // namespace
