// CDVLogics: construction, the wait loops, event registration, init,
// settings change and exit.
#include "session/cdvlogics.h"

#include "config/dvconfigfile.h"
#include "events/callbackfunc.h"
#include "config/dvfunctions.h"
#include "link/clinkora.h"
#include "session/dvsessionlog.h"
#include "support/dvinitorder.h"
#include "support/dvtime.h"

#include <climits>

using namespace dvsession;

CDVLogics dvLogics DV_INIT_SESSION;

namespace {

const char* const kBanner = "==============================================================";

// The poll loop shared by the four waits: sleep first, then test for a
// device error (unless told not to), until the condition holds or the
// elapsed time passes the time-out. Returns 2 on a device error, else -1
// with the elapsed time in `elapsed`.
template <typename Condition>
int pollUntil(Condition condition, int nTimeOut, const char* errorText, int& elapsed)
{
    elapsed = 0;
    do {
        dvSleep(10);
        elapsed += 10;
        if (errorText && g_nLastCallbackStatus.load() == 2) {
            logError(errorText);
            return 2;
        }
    } while (elapsed <= nTimeOut && !condition());
    return -1;
}

} // namespace

CDVLogics::CDVLogics() : m_bInitiated(false), m_verifyDVStatus(VERIFIED_NOT_TESTED), m_nDVLevel(0), m_masterVersion(), m_supportedCommands()
{
    DVLogicsLogger::LogMessage(kBanner, DVCONFIG, DVAPILOG);
    DVLogicsLogger::LogMessage("C API Loaded", DVCONFIG, DVAPILOG);
    DVLogicsLogger::LogMessage(kBanner, DVCONFIG, DVAPILOG);
    logConfig("Session Starting");
    logConfig(kBanner);
    logConfig("CDVLogics::CDVLogics");
    logConfig(kBanner);
    g_nInsideCallbackFunctions = 0;
    g_DVState = DVS_UNINITIATED;
    g_cLastCmd = 0;
}

CDVLogics::~CDVLogics()
{
    logConfig(kBanner);
    logConfig("CDVLogics::~CDVLogics");
    logConfig(kBanner);
    logConfig("Session Ending");
    DVLogicsLogger::LogMessage(kBanner, DVCONFIG, DVAPILOG);
    DVLogicsLogger::LogMessage("C API Unloaded", DVCONFIG, DVAPILOG);
    DVLogicsLogger::LogMessage(kBanner, DVCONFIG, DVAPILOG);

    // Stops the device link (and with it the device thread) if the till did
    // not: nothing may call into this library once it is unmapped.
    logDebug("CDVLogics::~CDVLogics: Calling exitCom.");
    char message[DV_MESSAGE_SIZE] = "";
    try {
        exit(message);
    } catch (...) {
    }
    logDebug(std::string("CDVLogics::~CDVLogics: exitCom ans=") + message);

    // A till callback that closed the session from inside may still be
    // running in this library on the device thread: unmapping the library
    // under it would crash the till, so let it finish first.
    if (const int running = waitForReportHandlers(10000))
        logError(dvFormat("CDVLogics::~CDVLogics: %d device report(s) still being handled at unload", running));

    m_bInitiated = false;
    g_DVState = DVS_UNINITIATED;
    m_verifyDVStatus = VERIFIED_NOT_TESTED;
    m_nDVLevel = 0;
    g_cLastCmd = 0;
    g_nInsideCallbackFunctions = 0;
}

// --- waits --------------------------------------------------------------------
//
// A condition that becomes true exactly when the elapsed time reaches the
// time-out still counts as a time-out.

int CDVLogics::waitForStatus(int nStatus, int nTimeOut)
{
    int elapsed = 0;
    if (pollUntil([&] { return g_nLastCallbackStatus.load() == nStatus; }, nTimeOut,
                  "CDVLogics::waitForStatus: Error entered", elapsed) == 2)
        return 2;
    return elapsed >= nTimeOut ? 6 : 0;
}

int CDVLogics::waitForStatus(int nStatus1, int nStatus2, int nTimeOut)
{
    int elapsed = 0;
    if (pollUntil(
            [&] {
                const int status = g_nLastCallbackStatus.load();
                return status == nStatus1 || status == nStatus2;
            },
            nTimeOut, "CDVLogics::waitForStatus: Error entered", elapsed) == 2)
        return 2;
    return elapsed >= nTimeOut ? 6 : 0;
}

int CDVLogics::waitForCallback(const std::string& strCallbackType, int nTimeOut)
{
    int elapsed = 0;
    if (pollUntil([&] { return g_strLastCallbackCmd.equals(strCallbackType); }, nTimeOut,
                  "CDVLogics::waitForCallback: Error entered", elapsed) == 2)
        return 2;
    g_strLastCallbackCmd.clear();
    return elapsed >= nTimeOut ? 6 : 0;
}

int CDVLogics::waitForMode(int nMode, int nTimeOut, bool ignoreError)
{
    int elapsed = 0;
    if (pollUntil([&] { return g_nLastCallbackMode.load() == nMode; }, nTimeOut,
                  ignoreError ? nullptr : "CDVLogics::waitForMode: Error entered", elapsed) == 2)
        return 2;
    g_nLastCallbackMode = -1;
    return elapsed >= nTimeOut ? 6 : 0;
}

// --- registration ----------------------------------------------------------------

short CDVLogics::registerBasicEvents(CStatusBackFunc status, CErrorBackFunc error, char* message)
{
    logDebug("CDVLogics::registerBasicEvents()");
    if (!status || !error) {
        setMessage(message, "empty callbacks");
        logError("CDVLogics::registerBasicEvents: empty callbacks");
        return 4;
    }
    g_fStatusCallback = status;
    g_fErrorCallback = error;
    return 0;
}

namespace {

// The common part of the four registration operations: the null test and
// the basic callbacks. `name` is the operation's own name.
short registerCommon(const char* name, bool allGiven, CStatusBackFunc status, CErrorBackFunc error,
                     char* message)
{
    logCall(std::string("CDVLogics::") + name + "()");
    if (!allGiven) {
        setMessage(message, "empty callbacks");
        logError(std::string("CDVLogics::") + name + ": empty callbacks");
        return 4;
    }
    const short result = dvLogics.registerBasicEvents(status, error, message);
    if (result != 0)
        logError(dvFormat("%s: registerBasicEvents failed! Returning %d: %s", name, result, message));
    return result;
}

} // namespace

short CDVLogics::registerEvents(CStatusBackFunc status, CErrorBackFunc error, CCashLevelBackFunc cashLevel,
                                char* message)
{
    const short result = registerCommon("registerEvents", status && error && cashLevel, status, error, message);
    if (result != 0)
        return result;
    g_fCashLevelCallback = cashLevel;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::registerEvents2(CStatusBackFunc status, CErrorBackFunc error, CCashLevelBackFunc cashLevel,
                                 CCashSessionBackFunc cashSession, char* message)
{
    const short result =
        registerCommon("registerEvents2", status && error && cashLevel && cashSession, status, error, message);
    if (result != 0)
        return result;
    g_fCashLevelCallback = cashLevel;
    g_fCashSessionCallback = cashSession;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::registerEvents3(CStatusBackFunc status, CErrorBackFunc error, CLevelWarningBackFunc levelWarning,
                                 CCashSessionBackFunc cashSession, char* message)
{
    const short result =
        registerCommon("registerEvents3", status && error && levelWarning && cashSession, status, error, message);
    if (result != 0)
        return result;
    g_fLevelWarningCallback = levelWarning;
    g_fCashSessionCallback = cashSession;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::registerEvents23(CStatusBackFunc status, CErrorBackFunc error, CCashLevelBackFunc cashLevel,
                                  CLevelWarningBackFunc levelWarning, CCashSessionBackFunc cashSession,
                                  char* message)
{
    const short result = registerCommon("registerEvents23", status && error && cashLevel && levelWarning && cashSession,
                                        status, error, message);
    if (result != 0)
        return result;
    g_fCashLevelCallback = cashLevel;
    g_fLevelWarningCallback = levelWarning;
    g_fCashSessionCallback = cashSession;
    setMessage(message, "Done");
    return 0;
}

// --- settings ------------------------------------------------------------------------

void CDVLogics::copySettingsToGlobals(bool all)
{
    g_nCurrencyDecimals = m_dvSettings.GetSettingInt(CURRENCYDECIMALS);
    if (all) {
        g_nLegacySystem = m_dvSettings.GetSettingInt(LEGACYSYSTEM);
        g_nAutoDisable = m_dvSettings.GetSettingInt(AUTODISABLE);
    }
    g_nForwardCallbackChangeOnly = m_dvSettings.GetSettingInt(FORWARDCALLBACKCHANGEONLY);
    if (all)
        g_strLevelWarningFilter.set(m_dvSettings.GetSettingStr(LEVELWARNINGFILTER));
    g_nLoggEveryCallback = m_dvSettings.GetSettingInt(LOGGEVERYCALLBACK);
    g_nLoggSendEvents = m_dvSettings.GetSettingInt(LOGGSENDEVENTS);
    logCR2CAPI = m_dvSettings.GetSettingBool(LOGCRTOCAPI);
    logCAPI2CR = m_dvSettings.GetSettingBool(LOGCAPITOCR);
    logCom2CAPI = m_dvSettings.GetSettingBool(LOGCOMTOCAPI);
    logCAPI2Com = m_dvSettings.GetSettingBool(LOGCAPITOCOM);
    logDVDEBUG = m_dvSettings.GetSettingBool(LOGDEBUG);
}

int CDVLogics::statusOkTimeoutMs() const
{
    const long long ms = static_cast<long long>(m_dvSettings.GetSettingInt(STATUSOKTIMEOUT)) * 1000;
    return ms > INT_MAX ? INT_MAX : ms < INT_MIN ? INT_MIN : static_cast<int>(ms);
}

void CDVLogics::getIniFileSettings()
{
    ::getIniFileSettings(m_dvSettings);
    copySettingsToGlobals(true);
}

short CDVLogics::changeSettings(char* initSettings, short durationType, char* message)
{
    logCall(dvFormat("CDVLogics::changeSettings(\"%s\", %d)", initSettings ? initSettings : "", durationType));
    m_dvSettings.NewSettings(initSettings, durationType);
    copySettingsToGlobals(true);
    setMessage(message, "Done");
    return 0;
}

// --- init and exit -------------------------------------------------------------------

short CDVLogics::init(char* portSettings, char* initSettings, char* message)
{
    logCall("CDVLogics::init called");
    if (m_bInitiated.load()) {
        setMessage(message, "Already initiated");
        logError("CDVLogics::init: Already initiated");
        return 2;
    }
    logConfig(kBanner);
    logConfig("Library Name: " + g_strDllName);
    logConfig("Library Version: " + getDVLogicsLibraryVersion(g_strDllName));
    logConfig(kBanner);
    logConfig("dvlang.ini Path: " + DVLangSupport::getIniFilePath());

    getIniFileSettings();

    logConfig("CDVLogics::init, supplied parameter portSettings: " + dvStr(portSettings));
    logConfig("CDVLogics::init, supplied parameter initSettings: " + dvStr(initSettings));

    // The till's settings override the file's, permanently.
    if (initSettings && *initSettings)
        changeSettings(initSettings, 0, message);

    if (!g_fStatusCallback.load() || !g_fErrorCallback.load() ||
        (!g_fCashLevelCallback.load() && !g_fLevelWarningCallback.load())) {
        setMessage(message, "No callback defined");
        logError("CDVLogics::init: No callback defined");
        return 2;
    }

    const short result = initialize(portSettings, message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::init: CDVLogics::initialize failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    m_bInitiated = true;
    g_DVState = DVS_LOGGED_OUT;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::initialize(char* portSettings, char* message)
{
    std::string reason;
    const std::string portName = getSettingsTag("Name:", dvStr(portSettings), reason);
    logDebug("CDVLogics::initialize: strPortSettings: " + dvStr(portSettings));
    logDebug("CDVLogics::initialize: PortName: " + portName);
    if (portName == GETSETTINGSTAGINVALID) {
        setMessage(message, "Invalid portname");
        logError("CDVLogics::initialize: Invalid portname");
        return 2;
    }
    std::string name = portName; // a writable copy for the C interface
    const short result = linkora.initialize(&callbackfunc, name.empty() ? nullptr : &name[0], message);
    if (result != 0) {
        logError("CDVLogics::initialize: CLinkora::initialize failed");
        logError(dvFormat("CDVLogics::initialize: CLinkora::initialize return code: %d, message: %s", result,
                          message));
        return result;
    }
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::exit(char* message)
{
    logCall("CDVLogics::exit()");
    if (!m_bInitiated.load()) {
        setMessage(message, "Already de-initiated");
        logError("CDVLogics::exit: Already de-initiated");
        return 2;
    }
    logDebug("CDVLogics::exit(): Calling the exit function which will uninitiate the underlying communication "
             "layer.");
    const short result = linkora.exit(message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::exit: Exit failed, return code = %d, message = %s", result, message));
        return result;
    }
    logDebug("CDVLogics::exit: setting callback functions to 0.");
    g_fStatusCallback = nullptr;
    g_fErrorCallback = nullptr;
    g_fCashLevelCallback = nullptr;
    g_fLevelWarningCallback = nullptr;
    g_fCashSessionCallback = nullptr;
    g_strPrevCallbackArg.clear();
    g_bMessageSentSinceLastLoggedStatusEvent = true;
    g_nLastCallbackMode = -1;
    g_nLastCallbackStatus = -1;
    logDebug("CDVLogics::exit: done setting callback functions to 0.");
    logDebug("CDVLogics::exit: setting m_bInitiated = false and g_DVState = DVS_UNINITIATED");
    m_bInitiated = false;
    g_DVState = DVS_UNINITIATED;
    setMessage(message, "Done");
    logDebug("CDVLogics::exit: returning ok");
    return 0;
}
