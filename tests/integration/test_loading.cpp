// Finding and opening the communication library. This program does not link
// the simulator: the library has to find liblinkora.so.1 itself, and finds
// the stand-ins only in the current directory.
#include "dvapi.h"
#include "recorder.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace dvtest;

namespace {

class LoadingTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        setEnv("DVLOGS", logs.path().c_str());
        setEnv("DVCONFIG", logs.path().c_str());
        setEnv("FAKE_RECORD", logs.file("port").c_str());
        ASSERT_EQ(chdir(logs.path().c_str()), 0);
        ASSERT_TRUE(lib.load(libraryPath()));
        ASSERT_EQ(lib.api().registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level,
                                               &Recorder::warning, &Recorder::session, msg),
                  0);
    }
    void TearDown() override
    {
        lib.unload();
        if (chdir("/tmp") != 0) {
        }
    }
    short initIn(const char* variant, const char* port = "Type:RS232;Name:COM1")
    {
        if (variant) {
            EXPECT_EQ(chdir((std::string(FAKE_DIR) + "/fake_" + variant).c_str()), 0);
        }
        Text settings(port);
        return lib.api().initDV(settings, nullptr, msg);
    }
    std::string logic() const { return logs.file(logName("dvlogic")); }
    static std::string logName(const char* base)
    {
        static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
        const time_t now = time(nullptr);
        struct tm local;
        localtime_r(&now, &local);
        return std::string(base) + "_" + days[local.tm_wday] + ".log";
    }

    TempDir logs;
    Library lib;
    char msg[DV_MESSAGE_SIZE] = "";
};

TEST_F(LoadingTest, MissingLibrary)
{
    EXPECT_EQ(initIn(nullptr), 2);
    EXPECT_STREQ(msg, "Failed to get dll handle");
    EXPECT_EQ(dvtest::grep(logic(), "!! CLinkora::loadTheComLibrary: dlerror: ").size(), 2u); // both attempts
    EXPECT_TRUE(hasLine(logic(), "!! CLinkora::loadTheComLibrary: Failed to open LINKORA library"));
    EXPECT_TRUE(hasLine(logic(), "!! CDVLogics::initialize: CLinkora::initialize failed"));
    EXPECT_TRUE(hasLine(logic(), "!! CDVLogics::initialize: CLinkora::initialize return code: 2, message: Failed "
                                 "to get dll handle"));
    EXPECT_TRUE(hasLine(logic(), "!! CDVLogics::init: CDVLogics::initialize failed, return code = 2, message = "
                                 "Failed to get dll handle"));
}

TEST_F(LoadingTest, LibraryFoundInTheCurrentDirectory)
{
    EXPECT_EQ(initIn("plain"), 0) << msg;
    EXPECT_EQ(dvtest::readFile(logs.file("port")), "COM1");
    EXPECT_EQ(lib.api().exitDV(msg), 0);
}

TEST_F(LoadingTest, EmptyNameFieldTakesTheRestOfTheText)
{
    // An empty field's value is the remainder of the settings text, so the
    // link never sees an empty name (which it would get as a null pointer).
    EXPECT_EQ(initIn("plain", "Name:;Type:RS232"), 0) << msg;
    EXPECT_EQ(dvtest::readFile(logs.file("port")), ";Type:RS232");
}

TEST_F(LoadingTest, LibraryWithoutDv002)
{
    EXPECT_EQ(initIn("nodv002"), 2);
    EXPECT_STREQ(msg, "dv_002 is null");
    int open = 5;
    EXPECT_EQ(lib.api().isOpenDV(&open, msg), 2); // still not initiated
}

TEST_F(LoadingTest, InitiateResultIsPassedThrough)
{
    EXPECT_EQ(initIn("result5"), 5);
    EXPECT_STREQ(msg, "port busy %s%n 100%%"); // the library's own text, copied as it stands
    EXPECT_TRUE(hasLine(logic(), "!! CLinkora::initialize: my_dv_initiate returned error"));
    EXPECT_TRUE(hasLine(logic(), "!! CLinkora::initialize: my_dv_initiate returned error, portName: COM1, ans: port "
                                 "busy %s%n 100%%, nReturn: 5"));
}

} // namespace
