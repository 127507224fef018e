#include "config/cdvsettings.h"

#include "config/dvfunctions.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"

namespace {

const SettingInfo kSettings[SETTINGS_COUNT] = {
    {"PayOutAmountPerTimeLimitAmount:", "PayOutAmountPerTimeLimitAmount", "Operation", SETTING_INT, 0},
    {"PayOutAmountPerTimeLimitSeconds:", "PayOutAmountPerTimeLimitSeconds", "Operation", SETTING_INT, 60},
    {"AskPayOutAmountLimit:", "AskPayOutAmountLimit", "Operation", SETTING_INT, 4900},
    {"PayOutOkCheck:", "PayOutOkCheck", "Operation", SETTING_INT, 0},
    {"ChangeOkCheck:", "ChangeOkCheck", "Operation", SETTING_INT, 0},
    {"RegretOkCheck:", "RegretOkCheck", "Operation", SETTING_INT, 0},
    {"StatusOkTimeout:", "StatusOkTimeout", "Operation", SETTING_INT, 10},
    {"CurrencyDecimals:", "CurrencyDecimals", "Operation", SETTING_INT, 2},
    {"LegacySystem:", "LegacySystem", "Operation", SETTING_INT, 0},
    {"AutoDisable:", "AutoDisable", "Operation", SETTING_INT, 0},
    {"ForwardCallbackChangeOnly:", "ForwardCallbackChangeOnly", "Events", SETTING_INT, 1},
    {"LevelWarningFilter:", "LevelWarningFilter", "Events", SETTING_STRING, 0},
    {"LoggEveryCallback:", "LoggEveryCallback", "Logging", SETTING_INT, 0},
    {"LoggSendEvents:", "LoggSendEvents", "Logging", SETTING_INT, 1},
    {"LogCRToCAPI:", "LogCRToCAPI", "Logging", SETTING_BOOL, 1},
    {"LogCAPIToCR:", "LogCAPIToCR", "Logging", SETTING_BOOL, 1},
    {"LogComToCAPI:", "LogComToCAPI", "Logging", SETTING_BOOL, 1},
    {"LogCAPIToCom:", "LogCAPIToCom", "Logging", SETTING_BOOL, 1},
    {"LogDebug:", "LogDebug", "Logging", SETTING_BOOL, 1},
};

bool validType(SETTINGTYPES type)
{
    return static_cast<int>(type) >= 0 && static_cast<int>(type) < SETTINGS_COUNT;
}

void logConfig(const std::string& line)
{
    DVLogicsLogger::LogMessage(line, DVCONFIG, DVLOGICSLOG);
}

} // namespace

const SettingInfo& settingInfo(SETTINGTYPES type)
{
    return kSettings[validType(type) ? type : 0];
}

CDVSettings::CDVSettings() : m_nDurationType(0)
{
    for (int i = 0; i < SETTINGS_COUNT; ++i) {
        const SETTINGTYPES type = static_cast<SETTINGTYPES>(i);
        if (int* pair = intPair(type))
            pair[0] = pair[1] = kSettings[i].defaultValue;
        if (bool* pair = boolPair(type))
            pair[0] = pair[1] = kSettings[i].defaultValue != 0;
        restoreFlag(type) = false;
    }
}

int* CDVSettings::intPair(SETTINGTYPES type)
{
    return const_cast<int*>(static_cast<const CDVSettings*>(this)->intPair(type));
}

const int* CDVSettings::intPair(SETTINGTYPES type) const
{
    switch (type) {
    case PAYOUTAMOUNTPERTIMELIMITAMOUNT: return m_nPayOutAmountPerTimeLimitAmount;
    case PAYOUTAMOUNTPERTIMELIMITSECONDS: return m_nPayOutAmountPerTimeLimitSeconds;
    case ASKPAYOUTAMOUNTLIMIT: return m_nAskPayOutAmountLimit;
    case PAYOUTOKCHECK: return m_nPayOutOkCheck;
    case CHANGEOKCHECK: return m_nChangeOkCheck;
    case REGRETOKCHECK: return m_nRegretOkCheck;
    case STATUSOKTIMEOUT: return m_nStatusOkTimeout;
    case CURRENCYDECIMALS: return m_nCurrencyDecimals;
    case LEGACYSYSTEM: return m_nLegacySystem;
    case AUTODISABLE: return m_nAutoDisable;
    case FORWARDCALLBACKCHANGEONLY: return m_nForwardCallbackChangeOnly;
    case LOGGEVERYCALLBACK: return m_nLoggEveryCallback;
    case LOGGSENDEVENTS: return m_nLoggSendEvents;
    default: return nullptr;
    }
}

bool* CDVSettings::boolPair(SETTINGTYPES type)
{
    return const_cast<bool*>(static_cast<const CDVSettings*>(this)->boolPair(type));
}

const bool* CDVSettings::boolPair(SETTINGTYPES type) const
{
    switch (type) {
    case LOGCRTOCAPI: return m_bLogCR2CAPI;
    case LOGCAPITOCR: return m_bLogCAPI2CR;
    case LOGCOMTOCAPI: return m_bLogCom2CAPI;
    case LOGCAPITOCOM: return m_bLogCAPI2Com;
    case LOGDEBUG: return m_bLogDVDEBUG;
    default: return nullptr;
    }
}

bool& CDVSettings::restoreFlag(SETTINGTYPES type)
{
    switch (type) {
    case PAYOUTAMOUNTPERTIMELIMITAMOUNT: return m_bPayOutAmountPerTimeLimitAmountRestore;
    case PAYOUTAMOUNTPERTIMELIMITSECONDS: return m_bPayOutAmountPerTimeLimitSecondsRestore;
    case ASKPAYOUTAMOUNTLIMIT: return m_bAskPayOutAmountLimitRestore;
    case PAYOUTOKCHECK: return m_bPayOutOkCheckRestore;
    case CHANGEOKCHECK: return m_bChangeOkCheckRestore;
    case REGRETOKCHECK: return m_bRegretOkCheckRestore;
    case STATUSOKTIMEOUT: return m_bStatusOkTimeoutRestore;
    case CURRENCYDECIMALS: return m_bCurrencyDecimalsRestore;
    case LEGACYSYSTEM: return m_bLegacySystemRestore;
    case AUTODISABLE: return m_bAutoDisableRestore;
    case FORWARDCALLBACKCHANGEONLY: return m_bForwardCallbackChangeOnlyRestore;
    case LEVELWARNINGFILTER: return m_bLevelWarningFilterRestore;
    case LOGGEVERYCALLBACK: return m_bLoggEveryCallbackRestore;
    case LOGGSENDEVENTS: return m_bLoggSendEventsRestore;
    case LOGCRTOCAPI: return m_bLogCR2CAPIRestore;
    case LOGCAPITOCR: return m_bLogCAPI2CRRestore;
    case LOGCOMTOCAPI: return m_bLogCom2CAPIRestore;
    case LOGCAPITOCOM: return m_bLogCAPI2ComRestore;
    case LOGDEBUG: return m_bLogDVDEBUGRestore;
    }
    return m_bPayOutAmountPerTimeLimitAmountRestore; // not reached for a valid type
}

void CDVSettings::NewSettings(const char* settingsText, short durationType)
{
    const std::string settings = dvStr(settingsText);
    m_nDurationType = durationType;
    if (durationType == 0) {
        for (int i = 0; i < SETTINGS_COUNT; ++i)
            restoreFlag(static_cast<SETTINGTYPES>(i)) = false;
    }

    for (int i = 0; i < SETTINGS_COUNT; ++i) {
        const SETTINGTYPES type = static_cast<SETTINGTYPES>(i);
        const SettingInfo& info = kSettings[i];
        std::string message;
        if (info.kind == SETTING_STRING) {
            const std::string value = getSettingsTag(info.tag, settings, message);
            if (value != GETSETTINGSTAGINVALID) {
                m_sLevelWarningFilter[1] = m_sLevelWarningFilter[0];
                m_sLevelWarningFilter[0] = value;
                restoreFlag(type) = true;
                logConfig("CDVSettings::NewSettings: Setting new LevelWarningFilter: " + value);
            } else {
                logConfig("CDVSettings::NewSettings: Failed to get LevelWarningFilter, with error message: " +
                          message);
            }
            continue;
        }
        const int value = getSettingsTagInt(info.tag, settings, message);
        if (value < 0)
            continue; // absent, not numeric or negative: left as it is
        if (info.kind == SETTING_INT) {
            int* pair = intPair(type);
            pair[1] = pair[0];
            pair[0] = value;
        } else {
            bool* pair = boolPair(type);
            pair[1] = pair[0];
            pair[0] = value != 0;
        }
        restoreFlag(type) = true;
        logConfig(dvFormat("CDVSettings::NewSettings: Setting new %s %d", info.tag, value));
    }
}

void CDVSettings::RestoreSettings()
{
    m_nDurationType = 0;
    for (int i = 0; i < SETTINGS_COUNT; ++i) {
        const SETTINGTYPES type = static_cast<SETTINGTYPES>(i);
        if (!restoreFlag(type))
            continue;
        const SettingInfo& info = kSettings[i];
        std::string line;
        if (info.kind == SETTING_STRING) {
            m_sLevelWarningFilter[0] = m_sLevelWarningFilter[1];
            line = dvFormat("CDVSettings::RestoreSettings: Restored %s %s", info.tag,
                            m_sLevelWarningFilter[0].c_str());
        } else if (info.kind == SETTING_INT) {
            int* pair = intPair(type);
            pair[0] = pair[1];
            line = dvFormat("CDVSettings::RestoreSettings: Restored %s %d", info.tag, pair[0]);
        } else {
            bool* pair = boolPair(type);
            pair[0] = pair[1];
            line = dvFormat("CDVSettings::RestoreSettings: Restored %s %d", info.tag, pair[0] ? 1 : 0);
        }
        // Kept as tills know it: the PayOutOkCheck step clears the RegretOkCheck
        // flag instead of its own, so PayOutOkCheck is put back at every later
        // restore and a pending RegretOkCheck change is dropped.
        if (type == PAYOUTOKCHECK)
            restoreFlag(REGRETOKCHECK) = false;
        else
            restoreFlag(type) = false;
        logConfig(line);
    }
}

void CDVSettings::SetSettingInt(SETTINGTYPES type, int value)
{
    if (int* pair = intPair(type))
        pair[0] = value;
}

int CDVSettings::GetSettingInt(SETTINGTYPES type) const
{
    const int* pair = intPair(type);
    return pair ? pair[0] : 0;
}

void CDVSettings::SetSettingStr(SETTINGTYPES type, const std::string& value)
{
    if (type == LEVELWARNINGFILTER)
        m_sLevelWarningFilter[0] = value;
}

std::string CDVSettings::GetSettingStr(SETTINGTYPES type) const
{
    return type == LEVELWARNINGFILTER ? m_sLevelWarningFilter[0] : std::string();
}

void CDVSettings::SetSettingBool(SETTINGTYPES type, bool value)
{
    if (bool* pair = boolPair(type))
        pair[0] = value;
}

bool CDVSettings::GetSettingBool(SETTINGTYPES type) const
{
    const bool* pair = boolPair(type);
    return pair ? pair[0] : false;
}
