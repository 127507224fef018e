#include "reportmix.h"

#include "benchutil.h"

#include "events/callbackfunc.h"
#include "session/dvstate.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"

#include <cstring>

namespace dvbench {

const char* const kReportMix[] = {
    "a0000000011",                         // a note is being counted
    "a0000200001",                         // 20.00 credited, idle
    "a0000200011",                         // a payout starts
    "c0000050011",                         // 5.00 still to pay
    "b0000050011" "02 10 EUR       ",      // 10 EUR low: 2 left
    "b0000050011" "CR/RF00012000   ",      // a cash-session record
    "a0000000001",                         // done, idle
    "xDRAVIK-SIM-0000010102ABCDEFGH1234X", // capability answer
};
const size_t kReportMixSize = sizeof kReportMix / sizeof kReportMix[0];

void startReportSession()
{
    DVLogicsLogger::ResetForTesting();
    DVLangSupport::ResetForTesting();
    CountingTill::clear();
    g_nForwardCallbackChangeOnly = 1;
    g_nLoggSendEvents = 1;
    g_nLoggEveryCallback = 0;
    g_nCurrencyDecimals = 2;
    for (std::atomic<bool>* flag : {&logCR2CAPI, &logCAPI2CR, &logCom2CAPI, &logCAPI2Com, &logDVDEBUG})
        flag->store(true);
    g_fStatusCallback = &CountingTill::onStatus;
    g_fErrorCallback = &CountingTill::onError;
    g_fCashLevelCallback = &CountingTill::onLevel;
    g_fLevelWarningCallback = &CountingTill::onWarning;
    g_fCashSessionCallback = &CountingTill::onSession;
    g_DVState = DVS_PAYIN_ENABLED;
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    g_strPrevCallbackArg.clear();
    g_bMessageSentSinceLastLoggedStatusEvent = true;
}

ReportFeeder::ReportFeeder()
{
    static_assert(sizeof kReportMix / sizeof kReportMix[0] <= sizeof m_lengths / sizeof m_lengths[0],
                  "mix too long");
    for (size_t i = 0; i < kReportMixSize; ++i)
        m_lengths[i] = strlen(kReportMix[i]) + 1;
}

void ReportFeeder::next()
{
    memcpy(m_buffer, kReportMix[m_index], m_lengths[m_index]);
    callbackfunc(m_buffer);
    if (++m_index == kReportMixSize)
        m_index = 0;
}

} // namespace dvbench
