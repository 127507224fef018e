// Tagged settings texts, as the till passes them to initDV and
// changeSettingsDV: "PayOutOkCheck:1;AutoDisable:0;LevelWarningFilter:...".
//
// A field is its tag (with the colon) followed directly by the value, which
// ends at the next ';' or at the end of the text. The first occurrence of the
// tag anywhere in the text wins, and an empty field takes the whole remainder
// of the text: "AutoDisable:;LegacySystem:1" gives ";LegacySystem:1" for
// "AutoDisable:". Tills depend on these rules; they are not to be "fixed".
#ifndef DV_CONFIG_DVFUNCTIONS_H
#define DV_CONFIG_DVFUNCTIONS_H

#include <string>

// Returned in place of a value when the field cannot be found.
extern const char* const GETSETTINGSTAGINVALID;

// The value of the field, or GETSETTINGSTAGINVALID with a reason in message
// (message is left untouched on success).
std::string getSettingsTag(const std::string& tag, const std::string& settings, std::string& message);

// -1 when the field is missing, else stringToInt of its value.
int getSettingsTagInt(const std::string& tag, const std::string& settings, std::string& message);

// "" -> -1; all zeros -> 0; otherwise atoi, where 0 means not numeric (-1).
// Always sets message.
int stringToInt(const std::string& text, std::string& message);

#endif
