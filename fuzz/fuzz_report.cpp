// Fuzz target: device reports through the library's report callback.
//
// Input: one settings byte, one byte of currency decimals, then reports
// separated by NUL bytes (a report is a C text, so NUL cannot occur inside
// one). When the settings byte says so, the first piece is the level warning
// filter instead of a report. Each report is handed to callbackfunc from a
// heap block of exactly its size, with all five till callbacks registered;
// they check what they are given against the capacities the public header
// promises. After each report the session state is compared with what the
// report's fields say it must be.
#include "fuzzsupport.h"

#include "events/callbackfunc.h"
#include "session/dvstate.h"
#include "support/dvclock.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

const size_t kMaxInput = 1 << 16;

struct Seen {
    int status = 0, error = 0, level = 0, warning = 0, session = 0;
    int amount = -1, statusDigit = -1, mode = -1;
} g_seen;

// Reads every byte the header says the text may hold, so that a buffer
// smaller than promised shows up as an overflow.
void checkCapacity(const char* text, size_t capacity)
{
    FUZZ_CHECK(dvfuzz::terminatedWithin(text, capacity));
    volatile char last = text[capacity - 1];
    (void)last;
}

void onStatus(int amount, short status, short mode)
{
    FUZZ_CHECK(amount >= 0 && status >= 0 && status <= 9 && mode >= 0 && mode <= 9);
    ++g_seen.status;
    g_seen.amount = amount;
    g_seen.statusDigit = status;
    g_seen.mode = mode;
}

void onError(int code, char* text, char* ext)
{
    FUZZ_CHECK(code >= 0 && code <= 99);
    checkCapacity(text, DV_ERROR_TEXT_SIZE);
    FUZZ_CHECK(strcmp(ext, "ErrorInfo Not set") == 0);
    ++g_seen.error;
}

void onLevel(long denomination, short numberOf, char* ext)
{
    FUZZ_CHECK(denomination >= 0 && numberOf >= 0 && (numberOf <= 99 || numberOf == 999));
    checkCapacity(ext, DV_LEVEL_EXTINFO_SIZE);
    ++g_seen.level;
}

void onWarning(short type, long denomination, short numberOf, char* typeString, char* denominationString,
               char* warningMessage, char* ext)
{
    FUZZ_CHECK(type >= 1 && type <= 3 && denomination >= 0 && numberOf >= 0);
    checkCapacity(typeString, DV_LEVEL_TYPE_SIZE);
    checkCapacity(denominationString, DV_LEVEL_DENOMINATION_SIZE);
    checkCapacity(warningMessage, DV_LEVEL_WARNING_SIZE);
    checkCapacity(ext, DV_LEVEL_EXTINFO_SIZE);
    ++g_seen.warning;
}

void onSession(short type, int amount, char* ext)
{
    FUZZ_CHECK(type >= 0 && type <= 4);
    (void)amount;
    checkCapacity(ext, DV_SESSION_EXTINFO_SIZE);
    ++g_seen.session;
}

timeval fixedClock()
{
    timeval tv;
    tv.tv_sec = 1794819907; // Mon 2026-11-16 09:05:07 UTC
    tv.tv_usec = 42000;
    return tv;
}

// The fields of an "a", "b" or "c" report as the report format defines
// them; false when the report does not parse.
struct Fields {
    int amount = 0, status = 0, mode = 0;
};

bool digitField(char c, int& value)
{
    value = c >= '0' && c <= '9' ? c - '0' : 0;
    return c == '0' || value != 0;
}

bool parseFields(const std::string& report, Fields& f)
{
    if (report.size() < 11)
        return false;
    const std::string amount = report.substr(1, 8);
    if (amount != "00000000") {
        f.amount = static_cast<int>(strtol(amount.c_str(), nullptr, 10));
        if (f.amount <= 0)
            return false;
    }
    return digitField(report[9], f.status) && digitField(report[10], f.mode);
}

void checkReport(const std::string& raw, bool duplicate)
{
    const Seen before = g_seen;
    const bool processing = isProcessingPayoutCommand.load();
    std::unique_ptr<char[]> report = dvfuzz::cText(reinterpret_cast<const uint8_t*>(raw.data()), raw.size());
    FUZZ_CHECK(callbackfunc(reinterpret_cast<unsigned char*>(report.get())));
    FUZZ_CHECK(g_nInsideCallbackFunctions.load() == 0);
    FUZZ_CHECK(g_nAmountPayedIn.load() >= 0);
    FUZZ_CHECK(g_nCurrentLowLevelWarningState.load() >= 0 && g_nCurrentLowLevelWarningState.load() <= 3);
    FUZZ_CHECK(g_DVState.load() >= DVS_UNINITIATED && g_DVState.load() <= DVS_CASH_DEPOSITED);

    const char type = raw.empty() ? '\0' : raw[0];
    const bool suppressed = duplicate && g_nForwardCallbackChangeOnly.load() == 1;
    Fields f;
    if (type == 'a' || type == 'b' || type == 'c') {
        if (!parseFields(raw, f)) {
            FUZZ_CHECK(g_nLastCallbackStatus.load() == 2);
            FUZZ_CHECK(g_seen.status == before.status && g_seen.error == before.error);
            return;
        }
        FUZZ_CHECK(g_strLastCallbackCmd.equals(std::string(1, type)));
        FUZZ_CHECK(g_nLastCallbackStatus.load() == f.status && g_nLastCallbackMode.load() == f.mode);
        FUZZ_CHECK(g_bDVOpened.load() == ((f.status == 0 || f.status == 3) && f.mode == 1));
        if (type == 'c')
            FUZZ_CHECK(g_nLastCmessageRest.load() == f.amount);
        else
            FUZZ_CHECK(g_nAmountPayedIn.load() == f.amount);
        if (type == 'a') {
            const int expected = !suppressed && !processing ? 1 : 0;
            FUZZ_CHECK(g_seen.status == before.status + expected);
        }
        if (type == 'c') {
            const int expected = !suppressed && f.status == 1 ? 1 : 0;
            FUZZ_CHECK(g_seen.status == before.status + expected);
        }
        if (g_seen.status != before.status)
            FUZZ_CHECK(g_seen.amount == f.amount && g_seen.statusDigit == f.status && g_seen.mode == f.mode);
        if (type != 'b')
            FUZZ_CHECK(g_seen.error == before.error && g_seen.level == before.level &&
                       g_seen.session == before.session);
        else
            FUZZ_CHECK(g_seen.status - before.status <= 1 && g_seen.error - before.error <= 1 &&
                       g_seen.session - before.session <= 1);
        return;
    }
    if (type == 'x') {
        if (raw.size() < 21) {
            FUZZ_CHECK(g_nLastCallbackStatus.load() == 2);
        } else {
            FUZZ_CHECK(g_strLastCallbackCmd.equals("x"));
            if (raw.size() > 21)
                FUZZ_CHECK(g_masterVersion.equals(raw.substr(18, 2) + "." + raw.substr(20, 2)));
        }
    } else {
        // Empty or of an unknown type: the device counts as in error.
        FUZZ_CHECK(g_nLastCallbackStatus.load() == 2);
        if (type != '\0')
            FUZZ_CHECK(g_nLastCallbackMode.load() == 0);
    }
    FUZZ_CHECK(g_seen.status == before.status && g_seen.error == before.error && g_seen.level == before.level &&
               g_seen.warning == before.warning && g_seen.session == before.session);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setenv("TZ", "UTC", 1);
    dvfuzz::isolate();
    dvSetClock(&fixedClock);
    g_fStatusCallback = &onStatus;
    g_fErrorCallback = &onError;
    g_fCashLevelCallback = &onLevel;
    g_fLevelWarningCallback = &onWarning;
    g_fCashSessionCallback = &onSession;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxInput)
        return 0;
    dvfuzz::Input in(data, size);
    const uint8_t settings = in.byte();
    g_nForwardCallbackChangeOnly = settings & 1;
    g_nLoggEveryCallback = (settings >> 1) & 1;
    g_nLoggSendEvents = (settings >> 2) & 1;
    g_DVState = static_cast<DVSTATES>(((settings >> 3) & 7) % 5);
    isProcessingPayoutCommand = (settings >> 6) & 1;
    const bool withFilter = (settings >> 7) & 1;
    g_nCurrencyDecimals = in.byte() % 12;
    g_cLastCmd = 'A';
    g_nLastCallbackStatus = -1;
    g_nLastCallbackMode = -1;
    g_nAmountPayedIn = 0;
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_TRUE;
    g_strPrevCallbackArg.clear();
    g_strLevelWarningFilter.clear();

    // The rest, cut at NUL bytes.
    std::vector<std::string> pieces;
    const std::string rest = in.rest();
    size_t start = 0;
    for (;;) {
        const size_t end = rest.find('\0', start);
        pieces.push_back(rest.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    size_t first = 0;
    if (withFilter) {
        g_strLevelWarningFilter.set(pieces[0]);
        first = 1;
    }
    for (size_t i = first; i < pieces.size(); ++i) {
        const bool duplicate = g_strPrevCallbackArg.equals(pieces[i]);
        checkReport(pieces[i], duplicate);
    }
    return 0;
}
