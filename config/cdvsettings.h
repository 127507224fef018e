// CDVSettings: the nineteen run-time settings of the session.
//
// Each setting keeps the value in force (element 0) and one saved earlier
// value (element 1) with a restore flag, so that a settings change can last
// until the next payout only (duration type 1) and be undone afterwards.
#ifndef DV_CONFIG_CDVSETTINGS_H
#define DV_CONFIG_CDVSETTINGS_H

#include <string>

enum SETTINGTYPES {
    PAYOUTAMOUNTPERTIMELIMITAMOUNT = 0,
    PAYOUTAMOUNTPERTIMELIMITSECONDS = 1,
    ASKPAYOUTAMOUNTLIMIT = 2,
    PAYOUTOKCHECK = 3,
    CHANGEOKCHECK = 4,
    REGRETOKCHECK = 5,
    STATUSOKTIMEOUT = 6,
    CURRENCYDECIMALS = 7,
    LEGACYSYSTEM = 8,
    AUTODISABLE = 9,
    FORWARDCALLBACKCHANGEONLY = 10,
    LEVELWARNINGFILTER = 11,
    LOGGEVERYCALLBACK = 12,
    LOGGSENDEVENTS = 13,
    LOGCRTOCAPI = 14,
    LOGCAPITOCR = 15,
    LOGCOMTOCAPI = 16,
    LOGCAPITOCOM = 17,
    LOGDEBUG = 18
};

const int SETTINGS_COUNT = 19;

enum SettingKind { SETTING_INT, SETTING_STRING, SETTING_BOOL };

// What the rest of the library needs to know about one setting.
struct SettingInfo {
    const char* tag;      // in a settings text, with its colon: "PayOutOkCheck:"
    const char* iniKey;   // in dvlogics.ini: "PayOutOkCheck"
    const char* section;  // in dvlogics.ini: "Operation", "Events", "Logging"
    SettingKind kind;
    int defaultValue;     // ints and bools (bools: 1 = true); the filter is ""
};

const SettingInfo& settingInfo(SETTINGTYPES type);

class CDVSettings {
public:
    CDVSettings();

    // Applies a tagged settings text (null is empty). durationType 0 makes
    // every pending temporary change permanent first.
    void NewSettings(const char* settings, short durationType);
    // Puts back the saved value of every setting whose restore flag is set.
    void RestoreSettings();
    short GetDurationType() const { return static_cast<short>(m_nDurationType); }

    // Values in force only; no saved value, no restore flag.
    void SetSettingInt(SETTINGTYPES type, int value);
    int GetSettingInt(SETTINGTYPES type) const;             // 0 for a non-int setting
    void SetSettingStr(SETTINGTYPES type, const std::string& value);
    std::string GetSettingStr(SETTINGTYPES type) const;     // "" for a non-string setting
    void SetSettingBool(SETTINGTYPES type, bool value);
    bool GetSettingBool(SETTINGTYPES type) const;           // false for a non-bool setting

private:
    int* intPair(SETTINGTYPES type);
    const int* intPair(SETTINGTYPES type) const;
    bool* boolPair(SETTINGTYPES type);
    const bool* boolPair(SETTINGTYPES type) const;
    bool& restoreFlag(SETTINGTYPES type);

    int m_nDurationType;
    int m_nPayOutAmountPerTimeLimitAmount[2];
    bool m_bPayOutAmountPerTimeLimitAmountRestore;
    int m_nPayOutAmountPerTimeLimitSeconds[2];
    bool m_bPayOutAmountPerTimeLimitSecondsRestore;
    int m_nAskPayOutAmountLimit[2];
    bool m_bAskPayOutAmountLimitRestore;
    int m_nPayOutOkCheck[2];
    bool m_bPayOutOkCheckRestore;
    int m_nChangeOkCheck[2];
    bool m_bChangeOkCheckRestore;
    int m_nRegretOkCheck[2];
    bool m_bRegretOkCheckRestore;
    int m_nStatusOkTimeout[2];
    bool m_bStatusOkTimeoutRestore;
    int m_nCurrencyDecimals[2];
    bool m_bCurrencyDecimalsRestore;
    int m_nLegacySystem[2];
    bool m_bLegacySystemRestore;
    int m_nAutoDisable[2];
    bool m_bAutoDisableRestore;
    int m_nForwardCallbackChangeOnly[2];
    bool m_bForwardCallbackChangeOnlyRestore;
    std::string m_sLevelWarningFilter[2];
    bool m_bLevelWarningFilterRestore;
    int m_nLoggEveryCallback[2];
    bool m_bLoggEveryCallbackRestore;
    int m_nLoggSendEvents[2];
    bool m_bLoggSendEventsRestore;
    bool m_bLogCR2CAPI[2];
    bool m_bLogCR2CAPIRestore;
    bool m_bLogCAPI2CR[2];
    bool m_bLogCAPI2CRRestore;
    bool m_bLogCom2CAPI[2];
    bool m_bLogCom2CAPIRestore;
    bool m_bLogCAPI2Com[2];
    bool m_bLogCAPI2ComRestore;
    bool m_bLogDVDEBUG[2];
    bool m_bLogDVDEBUGRestore;
};

#endif
