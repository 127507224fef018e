// Fuzz target: tagged settings texts.
//
// Input: one flags byte, then pieces separated by NUL bytes. The first piece
// is a tag looked up in every later piece with getSettingsTag and
// getSettingsTagInt; every later piece is then applied to a settings store
// with NewSettings (duration type from the flags, piece by piece), and the
// store is restored at the end when the flags say so. A small model of the
// store (value in force, saved value, restore flag per setting, and the
// PayOutOkCheck step that clears the RegretOkCheck flag) must agree with the
// store after every step.
#include "fuzzsupport.h"

#include "config/cdvsettings.h"
#include "config/dvfunctions.h"

#include <string>
#include <vector>

namespace {

const size_t kMaxInput = 1 << 16;

struct ModelSetting {
    int value[2];
    std::string text[2];
    bool restore = false;
};

struct Model {
    ModelSetting s[SETTINGS_COUNT];
    int duration = 0;

    Model()
    {
        for (int i = 0; i < SETTINGS_COUNT; ++i)
            s[i].value[0] = s[i].value[1] = settingInfo(static_cast<SETTINGTYPES>(i)).defaultValue;
    }

    void apply(const std::string& text, short durationType)
    {
        duration = durationType;
        if (durationType == 0)
            for (ModelSetting& m : s)
                m.restore = false;
        for (int i = 0; i < SETTINGS_COUNT; ++i) {
            const SettingInfo& info = settingInfo(static_cast<SETTINGTYPES>(i));
            std::string message;
            if (info.kind == SETTING_STRING) {
                const std::string value = getSettingsTag(info.tag, text, message);
                if (value == GETSETTINGSTAGINVALID)
                    continue;
                s[i].text[1] = s[i].text[0];
                s[i].text[0] = value;
            } else {
                const int value = getSettingsTagInt(info.tag, text, message);
                if (value < 0)
                    continue;
                s[i].value[1] = s[i].value[0];
                s[i].value[0] = info.kind == SETTING_BOOL ? value != 0 : value;
            }
            s[i].restore = true;
        }
    }

    void restore()
    {
        duration = 0;
        for (int i = 0; i < SETTINGS_COUNT; ++i) {
            if (!s[i].restore)
                continue;
            s[i].value[0] = s[i].value[1];
            s[i].text[0] = s[i].text[1];
            s[i == PAYOUTOKCHECK ? REGRETOKCHECK : i].restore = false;
        }
    }

    void compare(const CDVSettings& store) const
    {
        FUZZ_CHECK(store.GetDurationType() == duration);
        for (int i = 0; i < SETTINGS_COUNT; ++i) {
            const SETTINGTYPES type = static_cast<SETTINGTYPES>(i);
            switch (settingInfo(type).kind) {
            case SETTING_INT:
                FUZZ_CHECK(store.GetSettingInt(type) == s[i].value[0]);
                break;
            case SETTING_BOOL:
                FUZZ_CHECK(store.GetSettingBool(type) == (s[i].value[0] != 0));
                break;
            case SETTING_STRING:
                FUZZ_CHECK(store.GetSettingStr(type) == s[i].text[0]);
                break;
            }
        }
    }
};

bool oneOf(const std::string& message, std::initializer_list<const char*> texts)
{
    for (const char* t : texts)
        if (message == t)
            return true;
    return false;
}

// What a field lookup must give, whatever the implementation.
void checkLookup(const std::string& tag, const std::string& settings)
{
    std::string message = "untouched";
    const std::string value = getSettingsTag(tag, settings, message);
    if (value == GETSETTINGSTAGINVALID && message != "untouched") {
        FUZZ_CHECK(oneOf(message, {"getSettingsTag: Input string too small", "getSettingsTag: Field name not found.",
                                   "getSettingsTag: Find field value failed."}));
    } else {
        FUZZ_CHECK(message == "untouched");
        // The value follows the first occurrence of the tag; it ends at a ';'
        // unless the field is empty, in which case it runs to the end.
        const size_t at = settings.find(tag);
        FUZZ_CHECK(at != std::string::npos);
        const size_t start = at + tag.size();
        FUZZ_CHECK(!value.empty() && settings.compare(start, value.size(), value) == 0);
        if (value[0] == ';')
            FUZZ_CHECK(start + value.size() == settings.size());
        else
            FUZZ_CHECK(value.find(';') == std::string::npos &&
                       (start + value.size() == settings.size() || settings[start + value.size()] == ';'));
    }

    message.clear();
    const int number = getSettingsTagInt(tag, settings, message);
    if (value == GETSETTINGSTAGINVALID) {
        FUZZ_CHECK(number == -1);
        return;
    }
    FUZZ_CHECK(oneOf(message, {"stringToInt: Empty string", "stringToInt: Zero string value, Ok",
                               "stringToInt: Non-zero string value, Ok", "stringToInt: inparam non-numeric"}));
    if (value.find_first_not_of('0') == std::string::npos)
        FUZZ_CHECK(number == 0 && message == "stringToInt: Zero string value, Ok");
    else if (message == "stringToInt: inparam non-numeric")
        FUZZ_CHECK(number == -1);
    else
        FUZZ_CHECK(number != 0 && number == static_cast<int>(strtol(value.c_str(), nullptr, 10)));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    dvfuzz::isolate();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxInput)
        return 0;
    dvfuzz::Input in(data, size);
    const uint8_t flags = in.byte();
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

    const std::string& tag = pieces[0];
    CDVSettings store;
    Model model;
    model.compare(store);
    for (size_t i = 1; i < pieces.size(); ++i) {
        checkLookup(tag, pieces[i]);
        const short duration = (flags >> ((i - 1) % 8)) & 1;
        // The store reads a C text: give it one of exactly the right size.
        std::unique_ptr<char[]> text =
            dvfuzz::cText(reinterpret_cast<const uint8_t*>(pieces[i].data()), pieces[i].size());
        store.NewSettings(text.get(), duration);
        model.apply(text.get(), duration);
        model.compare(store);
    }
    if (pieces.size() > 1 && (flags & 0x80)) {
        store.RestoreSettings();
        model.restore();
        model.compare(store);
    }
    return 0;
}
