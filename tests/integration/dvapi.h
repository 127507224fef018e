// The library as a till sees it: loaded with dlopen, its 24 functions looked
// up by name, and helpers to read its log files.
#ifndef DV_TESTS_DVAPI_H
#define DV_TESTS_DVAPI_H

#include "dvlogics.h"

#include <string>
#include <vector>

namespace dvtest {

// The 24 exported functions, looked up in the loaded library.
struct DvApi {
    short (*initDV)(char*, char*, char*);
    short (*changeSettingsDV)(char*, short, char*);
    short (*registerEventsDV)(CStatusBackFunc, CErrorBackFunc, CCashLevelBackFunc, char*);
    short (*registerEvents2DV)(CStatusBackFunc, CErrorBackFunc, CCashLevelBackFunc, CCashSessionBackFunc, char*);
    short (*registerEvents3DV)(CStatusBackFunc, CErrorBackFunc, CLevelWarningBackFunc, CCashSessionBackFunc, char*);
    short (*registerEvents23DV)(CStatusBackFunc, CErrorBackFunc, CCashLevelBackFunc, CLevelWarningBackFunc,
                                CCashSessionBackFunc, char*);
    short (*exitDV)(char*);
    short (*loginDV)(short, short, char*);
    short (*loginStrDV)(char*, char*, char*);
    short (*logoutDV)(char*);
    short (*isOpenDV)(int*, char*);
    short (*infoDV)(int*, char*, char*, char*, char*);
    short (*enablePayinDV)(char*);
    short (*disablePayinDV)(char*);
    short (*depositDV)(char*, char*);
    short (*dispenseDV)(int, char*, int*, char*);
    short (*askPayoutDV)(int, char*);
    short (*askPayout2DV)(int, int*, char*);
    short (*payoutDV)(int, int, char*, char*);
    short (*payout2DV)(int, int, char*, int*, char*);
    short (*amountDueDV)(int, char*, int*, char*);
    short (*changeDV)(char*);
    short (*regretDV)(short, char*);
    short (*resetDV)(char*);
};

// Loads the library at `path` with dlopen and looks up the 24 functions.
class Library {
public:
    ~Library() { unload(); }
    bool load(const std::string& path);
    void unload();
    bool loaded() const { return m_handle != nullptr; }
    const DvApi& api() const { return m_api; }

private:
    void* m_handle = nullptr;
    DvApi m_api = {};
};

// Path of libdvlogics.so in the build tree.
std::string libraryPath();

// A writable C text (the interface takes char*).
class Text {
public:
    Text(const std::string& s) : m_text(s) { m_text.push_back('\0'); }
    operator char*() { return &m_text[0]; }

private:
    std::string m_text;
};

// The logged part of a line: what follows the time stamp ("=> initDV(...)").
std::vector<std::string> logged(const std::string& path);
// Whether `line` appears, whole, among the logged parts.
bool hasLine(const std::string& path, const std::string& line);
// The lines after the first one equal to `from` (all lines if none is).
std::vector<std::string> linesFrom(const std::string& path, const std::string& from);

} // namespace dvtest

#endif
