// Cutting the fields out of the device's reports.
//
// A report "a", "b" or "c" is: type (1), amount (8 digits), status (1),
// mode (1), then an optional tail. The tail of a "b" report is a cash level,
// an error or a cash-session record; an "x" report's tail is the answer to
// the capability query. Each parser returns 0, or 2 after logging why.
#ifndef DV_EVENTS_DVPARSERS_H
#define DV_EVENTS_DVPARSERS_H

#include <string>

short formatCallbackArg(const std::string& report, std::string& cmd, int& amountOrRest, int& status, int& mode,
                        std::string& rest);

// The value of a note or coin written at pos ("10", "0,50", "5/-"), in the
// currency's smallest unit; suffix is what follows it (e.g. " EUR").
short getDenomination(const std::string& text, int pos, long& denomination, std::string& denominationString,
                      std::string& suffix);

// One cash level: low ("05 10 EUR"), empty ("00 10 EUR") or high ("100 EUR").
// levelType: 1 empty, 2 low, 3 high.
short getCashLevels(const std::string& tail, int& numberOf, long& denomination, int& levelType,
                    std::string& typeString, std::string& denominationString, std::string& warningMessage);

// The error code at positions 14-15.
short getErrorCode(const std::string& tail, int& errorCode);

// infoType: 0 "BO/WD", 1 "BO/RF", 2 "CR/WD", 3 "CR/RF", 4 "Dravi..."; the
// amount is the 8 digits at 5-12 (0 for type 4).
short getSessionInfo(const std::string& tail, short& infoType, int& amount);

#endif
