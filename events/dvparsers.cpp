#include "events/dvparsers.h"

#include "session/dvstate.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

void logError(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVERROR, DVLOGICSLOG, DVERRORLOG);
}

// atoi without its undefined overflow (glibc's atoi is strtol cut to int).
int toInt(const std::string& text)
{
    return static_cast<int>(strtol(text.c_str(), nullptr, 10));
}

// One digit field ("0" is 0; otherwise atoi, where 0 fails).
bool digitField(const std::string& report, size_t pos, int& value, const char* conversionError,
                const char* invalidPrefix)
{
    const std::string field = report.substr(pos, 1);
    if (field == "0") {
        value = 0;
        return true;
    }
    value = toInt(field);
    if (value == 0) {
        logError(conversionError);
        return false;
    }
    if (value < 0) {
        value = 0;
        logError(invalidPrefix + report);
        return false;
    }
    return true;
}

bool isBlankChar(char c)
{
    return c == ' ';
}

} // namespace

short formatCallbackArg(const std::string& report, std::string& cmd, int& amountOrRest, int& status, int& mode,
                        std::string& rest)
{
    if (report.empty()) {
        logError("formatCallbackArg: Callback string too short");
        return 2;
    }
    cmd = report.substr(0, 1);
    if (cmd == CALLBACK_TYPE_A || cmd == CALLBACK_TYPE_B || cmd == CALLBACK_TYPE_C) {
        if (report.size() < 11) {
            logError("formatCallbackArg: Callback string too short");
            return 2;
        }
        const std::string amount = report.substr(1, 8);
        if (amount == "00000000") {
            amountOrRest = 0;
        } else {
            amountOrRest = toInt(amount);
            if (amountOrRest == 0) {
                // Written twice, and to the logic log only.
                DVLogicsLogger::LogMessage("formatCallbackArg: amountOrRest atoi-conversion failed", DVERROR,
                                           DVLOGICSLOG);
                DVLogicsLogger::LogMessage("formatCallbackArg: amountOrRest atoi-conversion failed", DVERROR,
                                           DVLOGICSLOG);
                return 2;
            }
            if (amountOrRest < 0) {
                amountOrRest = 0;
                logError("formatCallbackArg invalid amountOrRest from: " + report);
                return 2;
            }
        }
        if (!digitField(report, 9, status, "formatCallbackArg: nStatus atoi-conversion failed",
                        "formatCallbackArg: invalid nStatus from: "))
            return 2;
        if (!digitField(report, 10, mode, "formatCallbackArg: nMode atoi-conversion failed",
                        "formatCallbackArg: invalid nMode from: "))
            return 2;
        if (report.size() > 11)
            rest = report.substr(11);
        return 0;
    }
    if (cmd == CALLBACK_TYPE_X) {
        if (report.size() < 21) {
            logError("formatCallbackArg: Callback string too short");
            return 2;
        }
        rest = report.substr(1);
        return 0;
    }
    return 0; // an unknown type: the caller decides
}

short getDenomination(const std::string& text, int pos, long& denomination, std::string& denominationString,
                      std::string& suffix)
{
    const size_t start = pos < 0 ? text.size() : static_cast<size_t>(pos);
    size_t end = start;
    while (end < text.size() && strchr("0123456789/.,", text[end]) != nullptr && text[end] != '\0')
        ++end;
    denominationString = start < text.size() ? text.substr(start, end - start) : std::string();

    size_t last = text.size();
    while (last > 0 && isBlankChar(text[last - 1]))
        --last;
    suffix = last > end ? text.substr(end, last - end) : std::string();

    std::string converted;
    if (start + 1 < text.size() && (text[start + 1] == ',' || text[start + 1] == '.')) {
        // A value such as 0,50: already in the smallest unit, not scaled.
        converted = denominationString.size() > 2 ? denominationString.substr(2) : std::string();
        denomination = strtol(converted.c_str(), nullptr, 10);
    } else {
        size_t digits = start;
        while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9')
            ++digits;
        converted = start < text.size() ? text.substr(start, digits - start) : std::string();
        denomination = strtol(converted.c_str(), nullptr, 10);
        // Whole currency units to the smallest unit; saturates instead of
        // overflowing on absurd input.
        for (int i = 0; i < g_nCurrencyDecimals.load() && denomination != 0; ++i) {
            if (denomination > LONG_MAX / 10) {
                denomination = LONG_MAX;
                break;
            }
            denomination *= 10;
        }
    }
    if (denomination == 0) {
        logError("cdvlogics.getDenomination: strDenomination conversion failed (denom=0), strDenomination = " +
                 converted);
        return 2;
    }
    return 0;
}

short getCashLevels(const std::string& tail, int& numberOf, long& denomination, int& levelType,
                    std::string& typeString, std::string& denominationString, std::string& warningMessage)
{
    if (tail.size() < 16) {
        numberOf = 0;
        denomination = 0;
        logError("getCashLevels: wrong message length: " + tail);
        return 2;
    }
    if (tail[0] != '0' && toInt(tail.substr(0, 1)) == 0) {
        logError("getCashLevels: First character in message string is not numeric");
        return 2;
    }
    std::string suffix;
    if (tail[2] != ' ') {
        // High level: the value stands at position 0. A value that cannot be
        // read is logged by getDenomination and delivered as 0.
        numberOf = 999;
        levelType = 3;
        typeString = DVLangSupport::getText("High");
        getDenomination(tail, 0, denomination, denominationString, suffix);
        warningMessage = denominationString + " " + typeString + " (" + suffix + ")";
        return 0;
    }
    if (g_nCurrentLowLevelWarningState.load() != LOW_LEVEL_WARNING_TRUE)
        g_nCurrentLowLevelWarningState.store(LOW_LEVEL_WARNING_TRUE);
    const short status = getDenomination(tail, 3, denomination, denominationString, suffix);
    if (status != 0) {
        logError("getCashLevels: getDenomination failed");
        return status;
    }
    const std::string count = tail.substr(0, 2);
    if (count == "00") {
        numberOf = 0;
        levelType = 1;
        typeString = DVLangSupport::getText("Empty");
        warningMessage = denominationString + " " + typeString;
        return 0;
    }
    numberOf = toInt(count);
    if (numberOf == 0) {
        logError("getCashLevels: strNumberOf conversion failed");
        return 2;
    }
    levelType = 2;
    typeString = DVLangSupport::getText("Low");
    const std::string shown = numberOf <= 9 ? count.substr(1) : count; // "05" shows as 5
    warningMessage = denominationString + " " + typeString + " (" + shown + " " + DVLangSupport::getText("Left") + ")";
    return 0;
}

short getErrorCode(const std::string& tail, int& errorCode)
{
    errorCode = 0;
    if (tail.size() < 16) {
        logError("getErrorCode: wrong message length: " + tail);
        return 2;
    }
    const std::string code = tail.substr(14, 2);
    if (code == "00")
        return 0;
    errorCode = toInt(code);
    if (errorCode == 0) {
        logError("getErrorCode: errCode atoi-conversion failed");
        return 2;
    }
    if (errorCode < 0) {
        errorCode = 0;
        logError("getErrorCode: invalid errorCode from: " + tail);
        return 2;
    }
    return 0;
}

short getSessionInfo(const std::string& tail, short& infoType, int& amount)
{
    static const char* const kWords[] = {"BO/WD", "BO/RF", "CR/WD", "CR/RF", "Dravi"};
    const std::string word = tail.substr(0, 5);
    for (short type = 0; type < 5; ++type) {
        if (word == kWords[type]) {
            infoType = type;
            amount = type < 4 ? toInt(tail.size() > 5 ? tail.substr(5, 8) : std::string()) : 0;
            return 0;
        }
    }
    logError("getSessionInfo: Unknown infoType");
    return 2;
}
