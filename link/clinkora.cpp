#include "link/clinkora.h"

#include "session/dvstate.h"
#include "support/dvclock.h"
#include "support/dvinitorder.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"
#include "support/dvtime.h"

#include <cstring>
#include <dlfcn.h>

const std::string strFS DV_INIT_LINK = std::string(1, FS);

CLinkora linkora DV_INIT_LINK;

namespace {

typedef void (*dv_initiate_type)(callbfunc_type, char*, char*, short*);
typedef void (*dv_002_type)(char*, char*);
typedef void (*dv_dini_type)();

std::atomic<dv_initiate_type> fp_dv_initiate{nullptr};
std::atomic<dv_002_type> fp_dv_002{nullptr};
std::atomic<dv_dini_type> fp_dv_dini{nullptr};

void logDebug(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVDEBUG, DVLOGICSLOG);
}

void logError(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVERROR, DVLOGICSLOG, DVERRORLOG);
}

void setMessage(char* message, const char* key)
{
    dvSetMessage(message, key, DV_MESSAGE_SIZE);
}

// A text that used to be printed as its own format, into a message buffer.
void copyMessage(char* message, const char* text)
{
    dvCopyText(message, DV_MESSAGE_SIZE, text);
}

// The communication library's answer, copied as it stands.
void copyAnswer(char* message, const char* ans)
{
    dvCopyPlain(message, DV_MESSAGE_SIZE, ans);
}

void* openLibrary(const char* name)
{
    logDebug(dvFormat("CLinkora::loadTheComLibrary: Calling dlopen(%s, RTLD_NOW | RTLD_NODELETE | RTLD_GLOBAL)",
                      "liblinkora.so.1"));
    void* handle = dlopen(name, RTLD_NOW | RTLD_NODELETE | RTLD_GLOBAL);
    logDebug(dvFormat("CLinkora::loadTheComLibrary: Completed dlopen(%s, RTLD_NOW | RTLD_NODELETE | RTLD_GLOBAL)",
                      "liblinkora.so.1"));
    if (!handle) {
        const char* error = dlerror();
        logError(dvFormat("CLinkora::loadTheComLibrary: dlerror: %s", error ? error : ""));
    }
    return handle;
}

// Looks name up; false (after closing the library) when it is missing.
template <typename F>
bool lookUp(void* handle, const char* name, std::atomic<F>& out)
{
    dlerror(); // clear an earlier error
    void* symbol = dlsym(handle, name);
    if (dlerror() != nullptr || symbol == nullptr) {
        dlclose(handle);
        return false;
    }
    out.store(reinterpret_cast<F>(symbol));
    return true;
}

} // namespace

std::string dvFixedField(int value, int width)
{
    char printed[16];
    snprintf(printed, sizeof printed, "%0*d", width, value);
    return std::string(printed).substr(0, static_cast<size_t>(width));
}

short my_dv_initiate(callbfunc_type callback, char* portName, char* ans)
{
    short result = 0;
    fp_dv_initiate.load()(callback, portName, ans, &result);
    return result;
}

CLinkora::CLinkora() : m_htoDll(nullptr) {}

CLinkora::~CLinkora()
{
    // The link is among the last objects destroyed at unload: the log files
    // close here. The communication library is not unloaded here.
    DVLogicsLogger::TerminateDVLogicsLogger();
}

short CLinkora::loadTheComLibrary(char* message)
{
    void* handle = openLibrary("liblinkora.so.1");
    if (!handle)
        handle = openLibrary("./liblinkora.so.1");
    m_htoDll.store(handle);
    if (!handle) {
        logError("CLinkora::loadTheComLibrary: Failed to open LINKORA library");
        setMessage(message, "Failed to get dll handle");
        return 2;
    }
    // After a failed look-up the library is closed again; the handle is
    // forgotten so that nothing can close it a second time.
    if (!lookUp(handle, "dv_initiate2", fp_dv_initiate)) {
        m_htoDll.store(nullptr);
        setMessage(message, "dv_initiate is null");
        return 2;
    }
    if (!lookUp(handle, "dv_002", fp_dv_002)) {
        m_htoDll.store(nullptr);
        setMessage(message, "dv_002 is null");
        return 2;
    }
    if (!lookUp(handle, "dv_dini", fp_dv_dini)) {
        m_htoDll.store(nullptr);
        setMessage(message, "dv_dini is null");
        return 2;
    }
    setMessage(message, "Done");
    return 0;
}

short CLinkora::freeTheComLibrary(char* message)
{
    void* handle = m_htoDll.load();
    if (!handle) {
        setMessage(message, "Handle to library is null");
        return 2;
    }
    if (dlclose(handle) == 0) {
        setMessage(message, "Done");
        return 0;
    }
    setMessage(message, "Failed to close library");
    return 2;
}

short CLinkora::initialize(callbfunc_type callback, char* portName, char* message)
{
    char ans[DV_ANSWER_BUFFER] = "";
    logDebug("CLinkora::initialize: Calling loadTheComLibrary");
    short status = loadTheComLibrary(ans);
    if (status != 0) {
        copyAnswer(message, ans);
        return 2;
    }
    logDebug("CLinkora::initialize: Calling my_dv_initiate");
    status = my_dv_initiate(callback, portName, ans);
    ans[DV_ANSWER_SIZE - 1] = '\0';
    if (status != 0) {
        logError("CLinkora::initialize: my_dv_initiate returned error");
        logError(dvFormat("CLinkora::initialize: my_dv_initiate returned error, portName: %s, ans: %s, nReturn: %d",
                          portName ? portName : "", ans, status));
        copyAnswer(message, ans);
        return status; // the library stays loaded
    }
    setMessage(message, "Done");
    logDebug("CLinkora::initialize: returning DV_STATUS_OK");
    return 0;
}

short CLinkora::my_dv_002(const char* req, char* ans, char* message)
{
    char command[256];
    snprintf(command, sizeof command, "%s", req ? req : "");
    DVLogicsLogger::LogMessage(command, API2DV, DVLOGICSLOG);

    std::string request = req ? req : "";
    memset(ans, 0, DV_ANSWER_BUFFER);
    fp_dv_002.load()(&request[0], ans);
    ans[DV_ANSWER_SIZE - 1] = '\0';

    if (ans[0] && ans[1] && ans[2] == '0') {
        setMessage(message, "Done");
        return 0;
    }
    copyMessage(message, strlen(ans) > 2 ? ans + 2 : "");
    switch (strlen(ans) > 2 ? ans[2] : '\0') {
    case '1':
        setMessage(message, "Busy");
        return 1;
    case '2':
        setMessage(message, "Error");
        return 2;
    case '3':
        setMessage(message, "Closed");
        return 5;
    default:
        setMessage(message, "Send failed");
        return 7;
    }
}

short CLinkora::my_dv_dini(char* message)
{
    dv_dini_type dini = fp_dv_dini.load();
    if (!dini) {
        setMessage(message, "dv_dini is null");
        return 2;
    }
    dini();
    return 0;
}

short CLinkora::exit(char* message)
{
    logDebug("CLinkora::exit: Calling my_dv_dini");
    short status = my_dv_dini(message);
    if (status != 0) {
        logDebug("CLinkora::exit: my_dv_dini returned error, returning the same error code");
        return status;
    }
    const int inside = g_nInsideCallbackFunctions.load();
    if (inside > 0) {
        // A library still running one of our callbacks must not be unmapped
        // under it.
        logDebug(dvFormat("CLinkora::exit: NOT calling freeTheComLibrary since we're currently processing (%d) "
                          "callback function(s) in that library.",
                          inside));
    } else {
        char ans[DV_MESSAGE_SIZE] = "";
        logDebug("CLinkora::exit: Calling freeTheComLibrary");
        status = freeTheComLibrary(ans);
        if (status != 0) {
            logDebug("CLinkora::exit: freeTheComLibrary returned error, returning error code DV_STATUS_ERROR");
            copyAnswer(message, ans);
            return 2;
        }
    }
    logDebug("CLinkora::exit: Done, returning DV_STATUS_OK");
    setMessage(message, "Done");
    return 0;
}

// --- commands ---------------------------------------------------------------

short CLinkora::exchange(const std::string& command, char* ans, char* message)
{
    const short status = my_dv_002(command.c_str(), ans, message);
    if (status == 0)
        setMessage(message, "Done");
    return status;
}

short CLinkora::send(const std::string& command, char* message)
{
    char ans[DV_ANSWER_BUFFER];
    return exchange(command, ans, message);
}

short CLinkora::login(short cashRegId, short cashierId, char* message)
{
    const struct tm now = dvLocalNow();
    const std::string command = "a" + strFS + dvFixedField(cashRegId, 2) + strFS + dvFixedField(cashierId, 2) +
                                strFS + dvFixedField(now.tm_hour, 2) + dvFixedField(now.tm_min, 2);
    return send(command, message);
}

short CLinkora::logout(char* message)
{
    char ans[DV_ANSWER_BUFFER];
    const short status = exchange("b", ans, message);
    if (status != 0) {
        logDebug(std::string("CLinkora::logout: received ans: ") + ans + ", message: " + message);
        logDebug(dvFormat("CLinkora::logout: returning not ok: %d", status));
    }
    return status;
}

short CLinkora::dispense(int amountDispense, const char* transactId, char* message)
{
    std::string command = "c" + strFS + num2str(8, amountDispense);
    if (transactId && *transactId)
        command += strFS + transactId;
    return send(command, message);
}

short CLinkora::askPayOut(int amountAsk, char* message)
{
    return send("d" + strFS + dvFixedField(amountAsk, 8), message);
}

short CLinkora::doPayOut(int amountDispense, int amountDeposit, const char* transactId, char* message)
{
    const std::string id = transactId ? transactId : "";
    logDebug("CLinkora::doPayOut: Transaction Id: " + id);
    logDebug("CLinkora::doPayOut: Amount Deposit: " + std::to_string(amountDeposit));
    logDebug("CLinkora::doPayOut: Amount Dispense: " + std::to_string(amountDispense));
    logDebug("CLinkora::doPayOut: Amount Due: " +
             std::to_string(static_cast<long long>(amountDeposit) - amountDispense));
    std::string command = "f" + strFS + num2str(8, amountDispense) + strFS + num2str(8, amountDeposit);
    if (!id.empty())
        command += strFS + id;
    return send(command, message);
}

namespace {
void logPayinFailure(const char* name, const std::string& command, short status, const char* ans,
                     const char* message)
{
    const std::string prefix = std::string("CLinkora::") + name;
    logDebug(prefix + ": sent command: " + command);
    logDebug(prefix + ": return value: " + std::to_string(status) + ", message: " + message);
    logDebug(prefix + ": received ans: " + ans);
    logDebug(prefix + ": the " + name + " command failed");
}
} // namespace

short CLinkora::enablePayin(char* message)
{
    char ans[DV_ANSWER_BUFFER];
    const short status = exchange("h", ans, message);
    if (status != 0)
        logPayinFailure("enablePayin", "h", status, ans, message);
    return status;
}

short CLinkora::disablePayin(char* message)
{
    char ans[DV_ANSWER_BUFFER];
    const short status = exchange("g", ans, message);
    if (status != 0)
        logPayinFailure("disablePayin", "g", status, ans, message);
    return status;
}

short CLinkora::change(char* message)
{
    return send("e" + strFS + "1", message);
}

short CLinkora::regretOne(char* message)
{
    return send("e" + strFS + "2", message);
}

short CLinkora::reset(char* message)
{
    return send("e" + strFS + "3", message);
}

short CLinkora::regretAll(char* message)
{
    return send("e" + strFS + "4", message);
}

short CLinkora::regretAllSum(char* message)
{
    // Devices without a true regret-all get a payout of zero amounts with
    // the identifier "regretAll".
    return doPayOut(0, 0, "regretAll", message);
}

short CLinkora::verifyDV(const char* timestamp, char* message)
{
    const std::string command = "x" + strFS + (timestamp ? timestamp : "");
    char ans[DV_ANSWER_BUFFER];
    logDebug("CLinkora::verifyDV: Calling my_dv_002");
    const short status = exchange(command, ans, message);
    logDebug("CLinkora::verifyDV: sent command: " + command);
    logDebug("CLinkora::verifyDV: return value: " + std::to_string(status) + ", message: " + message);
    logDebug(std::string("CLinkora::verifyDV: received ans: ") + ans);
    if (status != 0)
        logDebug("CLinkora::verifyDV: the verifyDV command failed");
    return status;
}
