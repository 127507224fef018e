#include "events/callbackfunc.h"

#include "events/dvevents.h"
#include "events/dvparsers.h"
#include "session/dvstate.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"

#include <cctype>
#include <chrono>
#include <mutex>
#include <new>
#include <thread>

namespace {

// The threads handling a report now (one entry per report in progress).
// No thread_local: this library is loaded with dlopen and unloaded again,
// and a thread-local block of an unloaded library stays behind in the
// thread (LeakSanitizer even trips over it at exit). Never destroyed: a
// handler may still leave while the library's globals go away.
struct Handlers {
    std::mutex mutex;
    std::thread::id threads[16];
    int count = 0;
};
Handlers& handlers()
{
    alignas(Handlers) static unsigned char storage[sizeof(Handlers)];
    static Handlers* h = new (storage) Handlers;
    return *h;
}

struct HandlingReport {
    HandlingReport()
    {
        Handlers& h = handlers();
        std::lock_guard<std::mutex> lock(h.mutex);
        if (h.count < 16)
            h.threads[h.count] = std::this_thread::get_id();
        ++h.count;
    }
    ~HandlingReport()
    {
        Handlers& h = handlers();
        std::lock_guard<std::mutex> lock(h.mutex);
        const int kept = h.count < 16 ? h.count : 16;
        for (int i = kept - 1; i >= 0; --i)
            if (h.threads[i] == std::this_thread::get_id()) {
                h.threads[i] = h.threads[kept - 1];
                break;
            }
        --h.count;
    }
};

// Reports in progress on threads other than this one.
int othersHandling()
{
    Handlers& h = handlers();
    std::lock_guard<std::mutex> lock(h.mutex);
    int mine = 0;
    for (int i = 0; i < h.count && i < 16; ++i)
        mine += h.threads[i] == std::this_thread::get_id() ? 1 : 0;
    return h.count - mine;
}

void logError(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVERROR, DVLOGICSLOG, DVERRORLOG);
}

void logDebug(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVDEBUG, DVLOGICSLOG);
}

bool reportsOpen(int status, int mode)
{
    return (status == 0 || status == 3) && mode == 1;
}

void handleReport(const std::string& raw)
{
    std::string cmd, rest;
    int amountOrRest = 0, status = 0, mode = 0;
    const int prevStatus = g_nLastCallbackStatus.load();

    if (formatCallbackArg(raw, cmd, amountOrRest, status, mode, rest) != 0) {
        // A malformed report counts as a device error, so that waiting
        // operations end.
        g_nLastCallbackStatus = 2;
        g_strPrevCallbackArg.set(raw);
        logError("cdvlogics.callbackfunc: Error in format of received callback");
        logError(raw);
        return;
    }

    // The type is published last (below), so that an operation waiting for
    // this type finds the report's fields already in place.
    if (cmd == CALLBACK_TYPE_A) {
        g_bDVOpened = reportsOpen(status, mode);
        // Only out of the logged-out state (or after a login that ended in an
        // error) does a report move the session; elsewhere the operations do.
        const bool afterFailedLogin = g_nLastCallbackStatus.load() == 2 && g_cLastCmd.load() == 'A';
        if ((g_DVState.load() == DVS_LOGGED_OUT || afterFailedLogin) && g_bDVOpened.load()) {
            if (status == 0)
                g_DVState = DVS_PAYIN_ENABLED;
            else if (status == 3)
                g_DVState = DVS_PAYIN_DISABLED;
            else if (status != 1 && status != 2)
                logDebug(dvFormat("cdvlogics.callbackfunc(A): Unexpected callback status == %d, not changing "
                                  "g_DVState",
                                  status));
        }
        g_nAmountPayedIn = amountOrRest;
        g_nLastCallbackStatus = status;
        g_nLastCallbackMode = mode;
        if (status == 0 && g_nCurrentLowLevelWarningState.load() == LOW_LEVEL_WARNING_FALSE_PENDING) {
            logDebug(dvFormat("cdvlogics.callbackfunc(A): Updating g_nCurrentLowLevelWarningState: %d - > %d "
                              "(LOW_LEVEL_WARNING_FALSE)",
                              LOW_LEVEL_WARNING_FALSE_PENDING, LOW_LEVEL_WARNING_FALSE));
            g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
        }
        if (status == 0 && g_nCurrentLowLevelWarningState.load() == LOW_LEVEL_WARNING_TRUE_PENDING) {
            logDebug(dvFormat("cdvlogics.callbackfunc(A): Updating g_nCurrentLowLevelWarningState: %d - > %d "
                              "(LOW_LEVEL_WARNING_FALSE)",
                              LOW_LEVEL_WARNING_TRUE_PENDING, LOW_LEVEL_WARNING_FALSE));
            g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
        }
    } else if (cmd == CALLBACK_TYPE_B) {
        g_bDVOpened = reportsOpen(status, mode);
        const bool unchanged = amountOrRest == g_nAmountPayedIn.load() && status == g_nLastCallbackStatus.load() &&
                               mode == g_nLastCallbackMode.load();
        if (!unchanged) {
            g_nAmountPayedIn = amountOrRest;
            g_nLastCallbackStatus = status;
            g_nLastCallbackMode = mode;
            // Sent even during a payout, and not subject to the duplicate rule.
            sendStatusEvent(amountOrRest, status, mode);
        }
    } else if (cmd == CALLBACK_TYPE_C) {
        g_bDVOpened = reportsOpen(status, mode);
        g_nLastCmessageRest = amountOrRest;
        g_nLastCallbackStatus = status;
        g_nLastCallbackMode = mode;
    } else if (cmd == CALLBACK_TYPE_X) {
        if (rest.size() > 20)
            g_masterVersion.set(rest.substr(17, 2) + "." + rest.substr(19, 2));
        if (rest.size() > 21)
            g_supportedCommands.set(rest.substr(21));
    } else {
        g_nLastCallbackStatus = 2;
        g_nLastCallbackMode = mode;
        // The raw report is what gets logged, not this text.
        rest = "cdvlogics.callbackfunc(?): Unknown command=" + cmd;
        logError(raw);
    }
    g_strLastCallbackCmd.set(cmd);

    // Duplicate rule.
    if (g_strPrevCallbackArg.replaceIfDifferent(raw)) {
        DVLogicsLogger::LogMessage(raw, DV2API, DVLOGICSLOG);
    } else {
        if (g_nLoggEveryCallback.load() == 1)
            DVLogicsLogger::LogMessage(raw, DV2API, DVLOGICSLOG);
        if (g_nForwardCallbackChangeOnly.load() == 1)
            return; // state updated, no event
    }

    if (cmd == CALLBACK_TYPE_A) {
        if (!isProcessingPayoutCommand.load())
            sendStatusEvent(amountOrRest, status, mode);
    } else if (cmd == CALLBACK_TYPE_B) {
        if (status != 2 || status == prevStatus) {
            if (!rest.empty() && isalpha(static_cast<unsigned char>(rest[0])))
                sendCashSessionEvent(rest);
            else
                sendCashLevelEvent(rest);
        } else {
            sendErrorEvent(rest); // entering the error
        }
    } else if (cmd == CALLBACK_TYPE_C) {
        if (status == 1) {
            g_nAmountPayedIn = amountOrRest;
            sendStatusEvent(amountOrRest, status, mode);
        }
    }
}

} // namespace

bool callbackfunc(unsigned char* report)
{
    HandlingReport handling;
    try {
        handleReport(report ? std::string(reinterpret_cast<const char*>(report)) : std::string());
    } catch (...) {
        // Nothing may reach the communication library; the report is lost.
        try {
            logError("cdvlogics.callbackfunc: report could not be handled");
        } catch (...) {
        }
    }
    return true;
}

int waitForReportHandlers(int timeoutMs)
{
    for (int waited = 0;; ++waited) {
        const int others = othersHandling();
        if (others <= 0 || waited >= timeoutMs)
            return others > 0 ? others : 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
