// The 24 exported functions. Each is a thin frame around one operation of
// the session object: entry line, pointer checks, initiated check, the call,
// result line. The frame lives in ApiFrame; every function is wrapped so that
// no exception crosses into the till.
#include "dvlogics.h"

#include "config/dvfunctions.h"
#include "session/cdvlogics.h"
#include "support/dvclock.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"

#include <atomic>
#include <string>

namespace {

// True between a successful initDV and a successful exitDV.
std::atomic<bool> g_bInitiated{false};

std::string text(const char* s)
{
    return s ? std::string(s) : std::string("NULL");
}

std::string quoted(const char* s)
{
    return s ? "\"" + std::string(s) + "\"" : std::string("NULL");
}

template <typename F>
const char* given(F f)
{
    return f ? "value" : "NULL";
}

std::string today()
{
    const struct tm now = dvLocalNow();
    char date[16];
    strftime(date, sizeof date, "%Y-%m-%d", &now);
    return date;
}

class ApiFrame {
public:
    ApiFrame(const char* name, const std::string& entryLine) : m_name(name)
    {
        DVLogicsLogger::LogMessage(entryLine, CR2API, DVAPILOG);
    }

    short messageIsNull() const
    {
        logError(failed(4) + " (DV_STATUS_INPUT_PARAM_ERROR): message parameter is null", DVERROR);
        return 4;
    }

    // A required argument is null (or empty); `key` is the message text.
    short badArgument(char* message, const std::string& logText, const char* key, LOGTYPES kind = DVERROR) const
    {
        logError(failed(4) + " (DV_STATUS_INPUT_PARAM_ERROR): " + logText, kind);
        dvSetMessage(message, key, DV_MESSAGE_SIZE);
        return 4;
    }

    short pointerIsNull(char* message, const char* parameter) const
    {
        const std::string key = std::string(parameter) + " parameter is null";
        return badArgument(message, key, key.c_str());
    }

    // `output` is "open=0: " and the like, for functions with an output.
    short notInitiated(char* message, const std::string& output = std::string()) const
    {
        logError(failed(2) + " (DV_STATUS_ERROR): " + output + "Not initiated", DVERROR);
        dvSetMessage(message, "Not initiated", DV_MESSAGE_SIZE);
        return 2;
    }

    short result(short status, const char* message, const std::string& output = std::string(),
                 LOGTYPES failureKind = DVERROR2) const
    {
        if (status != 0)
            logError(failed(status) + ": " + output + message, failureKind);
        else
            DVLogicsLogger::LogMessage(std::string(m_name) + ": Ok! Returning 0 (DV_STATUS_OK): " + output + message,
                                       DVDEBUG, DVAPILOG);
        return status;
    }

    void logError(const std::string& line, LOGTYPES kind) const
    {
        DVLogicsLogger::LogMessage(line, kind, DVAPILOG, DVERRORLOG);
    }

    std::string failed(short status) const
    {
        return std::string(m_name) + ": Failed! Returning " + std::to_string(status);
    }

    const char* name() const { return m_name; }

private:
    const char* m_name;
};

// Runs body; an exception (there should be none but an allocation failure)
// becomes status 2 instead of reaching the till.
template <typename Body>
short guarded(const char* name, char* message, Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        try {
            DVLogicsLogger::LogMessage(std::string(name) + ": Failed! Returning 2: internal error", DVERROR,
                                       DVAPILOG, DVERRORLOG);
            dvSetMessage(message, "Internal error", DV_MESSAGE_SIZE);
        } catch (...) {
        }
        return 2;
    }
}

std::string output(const char* name, int value)
{
    return std::string(name) + "=" + std::to_string(value) + ": ";
}

// The frame of a function that needs an initiated session and checks no
// pointer of its own: entry line, message check, initiated check, then
// `call`, which makes the session call and returns frame.result(...).
template <typename Call>
short sessionCall(const char* name, const std::string& entryLine, char* message, Call call) noexcept
{
    return guarded(name, message, [&]() -> short {
        ApiFrame frame(name, entryLine);
        if (!message)
            return frame.messageIsNull();
        if (!g_bInitiated.load())
            return frame.notInitiated(message);
        return call(frame);
    });
}

// An optional text that is null is treated as empty. (The session never
// writes into the texts it is given.)
char* orEmpty(char* s)
{
    static char empty[1] = "";
    return s ? s : empty;
}

} // namespace

extern "C" {

DV_API short initDV(char* portSettings, char* initSettings, char* message)
{
    return guarded("initDV", message, [&]() -> short {
        ApiFrame frame("initDV", "initDV(" + text(portSettings) + ", " + text(initSettings) + ", message)");
        if (!message)
            return frame.messageIsNull();
        // A null text reuses the empty text's message.
        if (!portSettings)
            return frame.badArgument(message, "portSettings is null", "portSettings is empty");
        if (!*portSettings)
            return frame.badArgument(message, "portSettings is empty", "portSettings is empty", DVERROR2);
        if (g_bInitiated.load()) {
            frame.logError("initDV: Warning! Returning 3 (DV_STATUS_WARNING): Already initiated", DVERROR);
            dvSetMessage(message, "Already initiated", DV_MESSAGE_SIZE);
            return 3;
        }
        std::string portMessage;
        const std::string type = getSettingsTag("Type:", portSettings, portMessage);
        short status;
        if (type == "RS232") {
            status = dvLogics.init(portSettings, orEmpty(initSettings), message);
        } else if (type == "USB" || type == "CAN") {
            dvSetMessage(message, "Port type not implemented", DV_MESSAGE_SIZE);
            status = 2;
        } else {
            dvSetMessage(message, "portSettings invalid", DV_MESSAGE_SIZE);
            status = 4;
        }
        if (status == 0)
            g_bInitiated = true;
        return frame.result(status, message);
    });
}

DV_API short changeSettingsDV(char* initSettings, short durationType, char* message)
{
    return guarded("changeSettingsDV", message, [&]() -> short {
        ApiFrame frame("changeSettingsDV", "changeSettingsDV(" + text(initSettings) + ", " +
                                               std::to_string(durationType) + ", message)");
        if (!message)
            return frame.messageIsNull();
        if (durationType != 0 && durationType != 1)
            return frame.badArgument(message, "unknown durationType", "unknown durationType");
        if (!initSettings)
            return frame.badArgument(message, "initSettings is null", "initSettings is empty");
        if (!*initSettings)
            return frame.badArgument(message, "initSettings is empty", "initSettings is empty");
        return frame.result(dvLogics.changeSettings(initSettings, durationType, message), message, std::string(),
                            DVERROR);
    });
}

DV_API short registerEventsDV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                              CCashLevelBackFunc dvCashLevelCall, char* message)
{
    return guarded("registerEventsDV", message, [&]() -> short {
        ApiFrame frame("registerEventsDV", std::string("registerEventsDV(") + given(dvStatusCall) + ", " +
                                               given(dvErrorCall) + ", " + given(dvCashLevelCall) + ", message)");
        if (!message)
            return frame.messageIsNull();
        return frame.result(dvLogics.registerEvents(dvStatusCall, dvErrorCall, dvCashLevelCall, message), message);
    });
}

DV_API short registerEvents2DV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                               CCashLevelBackFunc dvCashLevelCall, CCashSessionBackFunc dvCashSessionCall,
                               char* message)
{
    return guarded("registerEvents2DV", message, [&]() -> short {
        ApiFrame frame("registerEvents2DV", std::string("registerEvents2DV(") + given(dvStatusCall) + ", " +
                                                given(dvErrorCall) + ", " + given(dvCashLevelCall) + ", " +
                                                given(dvCashSessionCall) + ", message)");
        if (!message)
            return frame.messageIsNull();
        return frame.result(
            dvLogics.registerEvents2(dvStatusCall, dvErrorCall, dvCashLevelCall, dvCashSessionCall, message), message);
    });
}

DV_API short registerEvents3DV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                               CLevelWarningBackFunc dvLevelWarningCall, CCashSessionBackFunc dvCashSessionCall,
                               char* message)
{
    return guarded("registerEvents3DV", message, [&]() -> short {
        ApiFrame frame("registerEvents3DV", std::string("registerEvents3DV(") + given(dvStatusCall) + ", " +
                                                given(dvErrorCall) + ", " + given(dvLevelWarningCall) + ", " +
                                                given(dvCashSessionCall) + ", message)");
        if (!message)
            return frame.messageIsNull();
        return frame.result(
            dvLogics.registerEvents3(dvStatusCall, dvErrorCall, dvLevelWarningCall, dvCashSessionCall, message),
            message);
    });
}

DV_API short registerEvents23DV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                                CCashLevelBackFunc dvCashLevelCall, CLevelWarningBackFunc dvLevelWarningCall,
                                CCashSessionBackFunc dvCashSessionCall, char* message)
{
    return guarded("registerEvents23DV", message, [&]() -> short {
        ApiFrame frame("registerEvents23DV", std::string("registerEvents23DV(") + given(dvStatusCall) + ", " +
                                                 given(dvErrorCall) + ", " + given(dvCashLevelCall) + ", " +
                                                 given(dvLevelWarningCall) + ", " + given(dvCashSessionCall) +
                                                 ", message)");
        if (!message)
            return frame.messageIsNull();
        return frame.result(dvLogics.registerEvents23(dvStatusCall, dvErrorCall, dvCashLevelCall, dvLevelWarningCall,
                                                      dvCashSessionCall, message),
                            message);
    });
}

DV_API short exitDV(char* message)
{
    return sessionCall("exitDV", "exitDV(message)", message, [&](const ApiFrame& frame) {
        const short status = dvLogics.exit(message);
        if (status == 0)
            g_bInitiated = false;
        return frame.result(status, message);
    });
}

DV_API short loginDV(short cashRegId, short cashierId, char* message)
{
    const std::string entry =
        "loginDV(" + std::to_string(cashRegId) + ", " + std::to_string(cashierId) + ", message)";
    return sessionCall("loginDV", entry, message, [&](const ApiFrame& frame) {
        DVLogicsLogger::LogMessage("loginDV, date: " + today(), DVDEBUG, DVAPILOG);
        return frame.result(dvLogics.login(cashRegId, cashierId, message), message);
    });
}

DV_API short loginStrDV(char* cashRegId, char* cashierId, char* message)
{
    const std::string entry = "loginStrDV(" + text(cashRegId) + ", " + text(cashierId) + ", message)";
    return sessionCall("loginStrDV", entry, message, [&](const ApiFrame& frame) {
        DVLogicsLogger::LogMessage("loginStrDV, date: " + today(), DVDEBUG, DVAPILOG);
        return frame.result(dvLogics.login(orEmpty(cashRegId), orEmpty(cashierId), message), message);
    });
}

DV_API short logoutDV(char* message)
{
    return sessionCall("logoutDV", "logoutDV(message)", message,
                       [&](const ApiFrame& frame) { return frame.result(dvLogics.logout(message), message); });
}

DV_API short isOpenDV(int* open, char* message)
{
    return guarded("isOpenDV", message, [&]() -> short {
        ApiFrame frame("isOpenDV", "isOpenDV(open, message)");
        if (!message)
            return frame.messageIsNull();
        if (!open)
            return frame.pointerIsNull(message, "open");
        if (!g_bInitiated.load()) {
            *open = 0;
            return frame.notInitiated(message, output("open", 0));
        }
        const short status = dvLogics.isOpen(*open, message);
        return frame.result(status, message, output("open", *open));
    });
}

DV_API short infoDV(int* level, char* commands, char* master, char* info, char* message)
{
    return guarded("infoDV", message, [&]() -> short {
        ApiFrame frame("infoDV", "infoDV(level, commands, master, info, message)");
        if (!message)
            return frame.messageIsNull();
        if (!level)
            return frame.pointerIsNull(message, "level");
        if (!commands)
            return frame.pointerIsNull(message, "commands");
        if (!master)
            return frame.pointerIsNull(message, "master");
        if (!info)
            return frame.pointerIsNull(message, "info");
        if (!g_bInitiated.load()) {
            *level = 0;
            return frame.notInitiated(message, output("level", 0));
        }
        const short status = dvLogics.info(*level, commands, master, info, message);
        return frame.result(status, message, output("level", *level));
    });
}

DV_API short enablePayinDV(char* message)
{
    return sessionCall("enablePayinDV", "enablePayinDV(message)", message,
                       [&](const ApiFrame& frame) { return frame.result(dvLogics.enablePayin(message), message); });
}

DV_API short disablePayinDV(char* message)
{
    return sessionCall("disablePayinDV", "disablePayinDV(message)", message,
                       [&](const ApiFrame& frame) { return frame.result(dvLogics.disablePayin(message), message); });
}

DV_API short depositDV(char* transactId, char* message)
{
    return sessionCall("depositDV", "depositDV(" + quoted(transactId) + ", message)", message,
                       [&](const ApiFrame& frame) {
                           return frame.result(dvLogics.deposit(orEmpty(transactId), message), message);
                       });
}

DV_API short dispenseDV(int amountDispense, char* transactId, int* amountRest, char* message)
{
    const std::string entry =
        "dispenseDV(" + std::to_string(amountDispense) + ", " + quoted(transactId) + ", amountRest, message)";
    return sessionCall("dispenseDV", entry, message, [&](const ApiFrame& frame) {
        // amountRest is not checked here (a till passing null gets no
        // error), but a null one is never written.
        int ignored = 0;
        int& rest = amountRest ? *amountRest : ignored;
        const short status = dvLogics.dispense(amountDispense, orEmpty(transactId), rest, message);
        return frame.result(status, message, output("amountRest", rest));
    });
}

DV_API short askPayoutDV(int amountAskPay, char* message)
{
    return sessionCall("askPayoutDV", "askPayoutDV(" + std::to_string(amountAskPay) + ", message)", message,
                       [&](const ApiFrame& frame) {
                           return frame.result(dvLogics.askPayout(amountAskPay, message), message);
                       });
}

DV_API short askPayout2DV(int amountAskPay, int* amountRest, char* message)
{
    return guarded("askPayout2DV", message, [&]() -> short {
        ApiFrame frame("askPayout2DV", "askPayout2DV(" + std::to_string(amountAskPay) + ", amountRest, message)");
        if (!message)
            return frame.messageIsNull();
        if (!amountRest)
            return frame.pointerIsNull(message, "amountRest");
        if (!g_bInitiated.load())
            return frame.notInitiated(message);
        const short status = dvLogics.askPayout(amountAskPay, *amountRest, message);
        return frame.result(status, message, output("amountRest", *amountRest));
    });
}

DV_API short payoutDV(int amountDispense, int amountDeposit, char* transactId, char* message)
{
    const std::string entry = "payoutDV(" + std::to_string(amountDispense) + ", " + std::to_string(amountDeposit) +
                              ", " + quoted(transactId) + ", message)";
    return sessionCall("payoutDV", entry, message, [&](const ApiFrame& frame) {
        return frame.result(dvLogics.payout(amountDispense, amountDeposit, orEmpty(transactId), message), message);
    });
}

DV_API short payout2DV(int amountDispense, int amountDeposit, char* transactId, int* amountRest, char* message)
{
    return guarded("payout2DV", message, [&]() -> short {
        ApiFrame frame("payout2DV", "payout2DV(" + std::to_string(amountDispense) + ", " +
                                        std::to_string(amountDeposit) + ", " + quoted(transactId) +
                                        ", amountRest, message)");
        if (!message)
            return frame.messageIsNull();
        if (!amountRest)
            return frame.pointerIsNull(message, "amountRest");
        if (!g_bInitiated.load())
            return frame.notInitiated(message);
        const short status =
            dvLogics.payout(amountDispense, amountDeposit, orEmpty(transactId), *amountRest, message);
        return frame.result(status, message, output("amountRest", *amountRest));
    });
}

DV_API short amountDueDV(int amountDue, char* transactId, int* amountRest, char* message)
{
    return guarded("amountDueDV", message, [&]() -> short {
        ApiFrame frame("amountDueDV", "amountDueDV(" + std::to_string(amountDue) + ", " + quoted(transactId) +
                                          ", amountRest, message)");
        if (!message)
            return frame.messageIsNull();
        if (!amountRest)
            return frame.pointerIsNull(message, "amountRest");
        if (!g_bInitiated.load())
            return frame.notInitiated(message);
        const short status = dvLogics.amountDue(amountDue, orEmpty(transactId), *amountRest, message);
        return frame.result(status, message, output("amountRest", *amountRest));
    });
}

DV_API short changeDV(char* message)
{
    return sessionCall("changeDV", "changeDV(message)", message,
                       [&](const ApiFrame& frame) { return frame.result(dvLogics.change(message), message); });
}

DV_API short regretDV(short regretType, char* message)
{
    return sessionCall("regretDV", "regretDV(" + std::to_string(regretType) + ", message)", message,
                       [&](const ApiFrame& frame) { return frame.result(dvLogics.regret(regretType, message), message); });
}

DV_API short resetDV(char* message)
{
    return sessionCall("resetDV", "resetDV(message)", message,
                       [&](const ApiFrame& frame) { return frame.result(dvLogics.reset(message), message); });
}

} // extern "C"
