// The frame every exported function shares: the entry line, the message
// check, the pointer checks in their order, the initiated check and the
// result lines.
#include "harness.h"

#include <cstring>
#include <functional>

using namespace dvtest;

namespace {

// One exported function, called with a given message buffer (null allowed)
// and otherwise valid arguments.
struct Call {
    const char* name;
    const char* entry; // the entry line as logged
    bool needsInit;    // answers "Not initiated" before initDV
    std::function<short(const DvApi&, char*)> call;
};

int outInt = 7;
char outText[3][64];

std::vector<Call> allCalls()
{
    static Text port("Type:RS232;Name:sim"), settings("LogDebug:1"), id("T1"), reg("12"), cashier("34");
    return {
        {"initDV", "initDV(Type:RS232;Name:sim, LogDebug:1, message)", false,
         [](const DvApi& a, char* m) { return a.initDV(port, settings, m); }},
        {"changeSettingsDV", "changeSettingsDV(LogDebug:1, 0, message)", false,
         [](const DvApi& a, char* m) { return a.changeSettingsDV(settings, 0, m); }},
        {"registerEventsDV", "registerEventsDV(value, value, value, message)", false,
         [](const DvApi& a, char* m) { return a.registerEventsDV(&Recorder::status, &Recorder::error, &Recorder::level, m); }},
        {"registerEvents2DV", "registerEvents2DV(value, value, value, value, message)", false,
         [](const DvApi& a, char* m) {
             return a.registerEvents2DV(&Recorder::status, &Recorder::error, &Recorder::level, &Recorder::session, m);
         }},
        {"registerEvents3DV", "registerEvents3DV(value, value, value, value, message)", false,
         [](const DvApi& a, char* m) {
             return a.registerEvents3DV(&Recorder::status, &Recorder::error, &Recorder::warning, &Recorder::session, m);
         }},
        {"registerEvents23DV", "registerEvents23DV(value, value, value, value, value, message)", false,
         [](const DvApi& a, char* m) {
             return a.registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level, &Recorder::warning,
                                         &Recorder::session, m);
         }},
        {"exitDV", "exitDV(message)", true, [](const DvApi& a, char* m) { return a.exitDV(m); }},
        {"loginDV", "loginDV(12, 34, message)", true, [](const DvApi& a, char* m) { return a.loginDV(12, 34, m); }},
        {"loginStrDV", "loginStrDV(12, 34, message)", true,
         [](const DvApi& a, char* m) { return a.loginStrDV(reg, cashier, m); }},
        {"logoutDV", "logoutDV(message)", true, [](const DvApi& a, char* m) { return a.logoutDV(m); }},
        {"isOpenDV", "isOpenDV(open, message)", true, [](const DvApi& a, char* m) { return a.isOpenDV(&outInt, m); }},
        {"infoDV", "infoDV(level, commands, master, info, message)", true,
         [](const DvApi& a, char* m) { return a.infoDV(&outInt, outText[0], outText[1], outText[2], m); }},
        {"enablePayinDV", "enablePayinDV(message)", true, [](const DvApi& a, char* m) { return a.enablePayinDV(m); }},
        {"disablePayinDV", "disablePayinDV(message)", true, [](const DvApi& a, char* m) { return a.disablePayinDV(m); }},
        {"depositDV", "depositDV(\"T1\", message)", true, [](const DvApi& a, char* m) { return a.depositDV(id, m); }},
        {"dispenseDV", "dispenseDV(500, \"T1\", amountRest, message)", true,
         [](const DvApi& a, char* m) { return a.dispenseDV(500, id, &outInt, m); }},
        {"askPayoutDV", "askPayoutDV(500, message)", true, [](const DvApi& a, char* m) { return a.askPayoutDV(500, m); }},
        {"askPayout2DV", "askPayout2DV(500, amountRest, message)", true,
         [](const DvApi& a, char* m) { return a.askPayout2DV(500, &outInt, m); }},
        {"payoutDV", "payoutDV(500, 1000, \"T1\", message)", true,
         [](const DvApi& a, char* m) { return a.payoutDV(500, 1000, id, m); }},
        {"payout2DV", "payout2DV(500, 1000, \"T1\", amountRest, message)", true,
         [](const DvApi& a, char* m) { return a.payout2DV(500, 1000, id, &outInt, m); }},
        {"amountDueDV", "amountDueDV(500, \"T1\", amountRest, message)", true,
         [](const DvApi& a, char* m) { return a.amountDueDV(500, id, &outInt, m); }},
        {"changeDV", "changeDV(message)", true, [](const DvApi& a, char* m) { return a.changeDV(m); }},
        {"regretDV", "regretDV(1, message)", true, [](const DvApi& a, char* m) { return a.regretDV(1, m); }},
        {"resetDV", "resetDV(message)", true, [](const DvApi& a, char* m) { return a.resetDV(m); }},
    };
}

using ApiFrameTest = IntegrationTest;

TEST_F(ApiFrameTest, EveryFunctionIsCovered)
{
    EXPECT_EQ(allCalls().size(), 24u);
}

TEST_F(ApiFrameTest, BeforeInitEveryOperationAnswersNotInitiated)
{
    for (const Call& c : allCalls()) {
        if (!c.needsInit)
            continue;
        outInt = 7;
        strcpy(msg, "unchanged");
        EXPECT_EQ(c.call(dv(), msg), 2) << c.name;
        EXPECT_STREQ(msg, "Not initiated") << c.name;
        std::string suffix = " (DV_STATUS_ERROR): Not initiated";
        if (std::string(c.name) == "isOpenDV" || std::string(c.name) == "infoDV") {
            EXPECT_EQ(outInt, 0) << c.name;
            suffix = std::string(" (DV_STATUS_ERROR): ") + (c.name[0] == 'i' && c.name[1] == 's' ? "open" : "level") +
                     "=0: Not initiated";
        }
        EXPECT_TRUE(hasLine(apiLog(), "!! " + std::string(c.name) + ": Failed! Returning 2" + suffix)) << c.name;
    }
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(ApiFrameTest, BeforeInitANullMessageIsRefusedFirstAfterTheEntryLine)
{
    for (const Call& c : allCalls()) {
        EXPECT_EQ(c.call(dv(), nullptr), 4) << c.name;
        const std::vector<std::string> lines = readLines(apiLog());
        ASSERT_GE(lines.size(), 2u) << c.name;
        EXPECT_NE(lines[lines.size() - 2].find("=> " + std::string(c.entry)), std::string::npos)
            << c.name << ": " << lines[lines.size() - 2];
        EXPECT_NE(lines.back().find("!! " + std::string(c.name) +
                                    ": Failed! Returning 4 (DV_STATUS_INPUT_PARAM_ERROR): message parameter is null"),
                  std::string::npos)
            << c.name << ": " << lines.back();
    }
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(ApiFrameTest, PointerChecksComeInOrderAndBeforeTheInitiatedCheck)
{
    const struct {
        const char* name;
        std::function<short(const DvApi&, char*)> call;
        const char* text;
    } cases[] = {
        {"isOpenDV", [](const DvApi& a, char* m) { return a.isOpenDV(nullptr, m); }, "open parameter is null"},
        {"infoDV", [](const DvApi& a, char* m) { return a.infoDV(nullptr, nullptr, nullptr, nullptr, m); },
         "level parameter is null"},
        {"infoDV", [](const DvApi& a, char* m) { return a.infoDV(&outInt, nullptr, nullptr, nullptr, m); },
         "commands parameter is null"},
        {"infoDV", [](const DvApi& a, char* m) { return a.infoDV(&outInt, outText[0], nullptr, nullptr, m); },
         "master parameter is null"},
        {"infoDV", [](const DvApi& a, char* m) { return a.infoDV(&outInt, outText[0], outText[1], nullptr, m); },
         "info parameter is null"},
        {"askPayout2DV", [](const DvApi& a, char* m) { return a.askPayout2DV(1, nullptr, m); },
         "amountRest parameter is null"},
        {"payout2DV", [](const DvApi& a, char* m) { return a.payout2DV(1, 1, nullptr, nullptr, m); },
         "amountRest parameter is null"},
        {"amountDueDV", [](const DvApi& a, char* m) { return a.amountDueDV(1, nullptr, nullptr, m); },
         "amountRest parameter is null"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.call(dv(), msg), 4) << c.text;
        EXPECT_STREQ(msg, c.text);
        EXPECT_TRUE(hasLine(errorLog(), "!! " + std::string(c.name) +
                                            ": Failed! Returning 4 (DV_STATUS_INPUT_PARAM_ERROR): " + c.text))
            << c.text;
    }
}

TEST_F(ApiFrameTest, DispenseWithANullRestIsNotAnErrorAndNotACrash)
{
    ASSERT_EQ(init(), 0) << msg;
    EXPECT_EQ(dv().dispenseDV(100, nullptr, nullptr, msg), 5); // logged out
    EXPECT_STREQ(msg, "Closed");
    EXPECT_TRUE(hasLine(apiLog(), "=> dispenseDV(100, NULL, amountRest, message)"));
}

TEST_F(ApiFrameTest, InitArgumentChecks)
{
    EXPECT_EQ(dv().initDV(nullptr, nullptr, msg), 4);
    EXPECT_STREQ(msg, "portSettings is empty");
    EXPECT_TRUE(hasLine(apiLog(), "=> initDV(NULL, NULL, message)"));
    EXPECT_TRUE(hasLine(apiLog(), "!! initDV: Failed! Returning 4 (DV_STATUS_INPUT_PARAM_ERROR): portSettings is null"));

    Text empty("");
    EXPECT_EQ(dv().initDV(empty, empty, msg), 4);
    EXPECT_STREQ(msg, "portSettings is empty");
    EXPECT_TRUE(hasLine(apiLog(), "!! initDV: Failed! Returning 4 (DV_STATUS_INPUT_PARAM_ERROR): portSettings is empty"));

    const struct {
        const char* port;
        short status;
        const char* text;
    } cases[] = {
        {"Type:USB;Name:x", 2, "Port type not implemented"},
        {"Type:CAN;Name:x", 2, "Port type not implemented"},
        {"Type:rs232;Name:x", 4, "portSettings invalid"},
        {"Name:x", 4, "portSettings invalid"},
        {"Type:", 4, "portSettings invalid"},
    };
    for (const auto& c : cases) {
        Text port(c.port);
        EXPECT_EQ(dv().initDV(port, nullptr, msg), c.status) << c.port;
        EXPECT_STREQ(msg, c.text);
        // Only the generic failure line is written.
        EXPECT_TRUE(hasLine(apiLog(), "!! initDV: Failed! Returning " + std::to_string(c.status) + ": " + c.text));
    }
    EXPECT_TRUE(dvtest::grep(apiLog(), "PORT_TYPE").empty());
}

TEST_F(ApiFrameTest, ChangeSettingsChecksDurationBeforeText)
{
    Text good("AutoDisable:1"), empty("");
    EXPECT_EQ(dv().changeSettingsDV(good, 2, msg), 4);
    EXPECT_STREQ(msg, "unknown durationType");
    EXPECT_EQ(dv().changeSettingsDV(nullptr, 0, msg), 4);
    EXPECT_STREQ(msg, "initSettings is empty");
    EXPECT_EQ(dv().changeSettingsDV(empty, 1, msg), 4);
    EXPECT_STREQ(msg, "initSettings is empty");
    EXPECT_EQ(dv().changeSettingsDV(good, 1, msg), 0); // allowed before init
    EXPECT_STREQ(msg, "Done");
    EXPECT_TRUE(hasLine(apiLog(), "== changeSettingsDV: Ok! Returning 0 (DV_STATUS_OK): Done"));
    EXPECT_TRUE(hasLine(logicLog(), "=> CDVLogics::changeSettings(\"AutoDisable:1\", 1)"));
    EXPECT_TRUE(hasLine(logicLog(), "## CDVSettings::NewSettings: Setting new AutoDisable: 1"));
}

TEST_F(ApiFrameTest, RegistrationNeedsEveryCallbackItNames)
{
    EXPECT_EQ(dv().registerEvents2DV(&Recorder::status, &Recorder::error, &Recorder::level, nullptr, msg), 4);
    EXPECT_STREQ(msg, "empty callbacks");
    EXPECT_TRUE(hasLine(apiLog(), "=> registerEvents2DV(value, value, value, NULL, message)"));
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::registerEvents2: empty callbacks"));
    EXPECT_TRUE(hasLine(apiLog(), "!! registerEvents2DV: Failed! Returning 4: empty callbacks"));
    EXPECT_EQ(dv().registerEventsDV(&Recorder::status, &Recorder::error, &Recorder::level, msg), 0);
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::registerBasicEvents()"));
}

TEST_F(ApiFrameTest, OutputsAppearInTheResultLines)
{
    initAndLogin();
    int open = -1;
    EXPECT_EQ(dv().isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 1);
    EXPECT_TRUE(hasLine(apiLog(), "== isOpenDV: Ok! Returning 0 (DV_STATUS_OK): open=1: Done"));
    int level = -1;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
    EXPECT_EQ(dv().infoDV(&level, commands, master, info, msg), 0);
    EXPECT_TRUE(hasLine(apiLog(), "== infoDV: Ok! Returning 0 (DV_STATUS_OK): level=" + std::to_string(level) +
                                      ": Done"));
}

} // namespace
