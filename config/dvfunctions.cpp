#include "config/dvfunctions.h"

#include <cstdlib>

const char* const GETSETTINGSTAGINVALID = "GETSETTINGSTAGINVALID";

std::string getSettingsTag(const std::string& tag, const std::string& settings, std::string& message)
{
    if (settings.empty()) {
        message = "getSettingsTag: Input string too small";
        return GETSETTINGSTAGINVALID;
    }
    const size_t found = settings.find(tag);
    if (found == std::string::npos) {
        message = "getSettingsTag: Field name not found.";
        return GETSETTINGSTAGINVALID;
    }
    const size_t start = found + tag.size();
    if (start >= settings.size()) {
        message = "getSettingsTag: Find field value failed.";
        return GETSETTINGSTAGINVALID;
    }
    const size_t semicolon = settings.find(';', start);
    if (semicolon != std::string::npos && semicolon > start)
        return settings.substr(start, semicolon - start);
    return settings.substr(start); // no ';', or an empty field: the remainder
}

int getSettingsTagInt(const std::string& tag, const std::string& settings, std::string& message)
{
    const std::string value = getSettingsTag(tag, settings, message);
    if (value == GETSETTINGSTAGINVALID)
        return -1;
    return stringToInt(value, message);
}

int stringToInt(const std::string& text, std::string& message)
{
    if (text.empty()) {
        message = "stringToInt: Empty string";
        return -1;
    }
    if (text.find_first_not_of('0') == std::string::npos) {
        message = "stringToInt: Zero string value, Ok";
        return 0;
    }
    // atoi without its undefined overflow: strtol, cut to int as glibc's
    // atoi does.
    const int value = static_cast<int>(strtol(text.c_str(), nullptr, 10));
    if (value != 0) {
        message = "stringToInt: Non-zero string value, Ok";
        return value;
    }
    message = "stringToInt: inparam non-numeric";
    return -1;
}
