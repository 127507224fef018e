#include "dvapi.h"

#include "testutil.h"

#include <dlfcn.h>

namespace dvtest {

std::string libraryPath()
{
    return DVLOGICS_LIBRARY_PATH;
}

bool Library::load(const std::string& path)
{
    m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle)
        return false;
#define DV_LOOKUP(name) m_api.name = reinterpret_cast<decltype(m_api.name)>(dlsym(m_handle, #name))
    DV_LOOKUP(initDV);
    DV_LOOKUP(changeSettingsDV);
    DV_LOOKUP(registerEventsDV);
    DV_LOOKUP(registerEvents2DV);
    DV_LOOKUP(registerEvents3DV);
    DV_LOOKUP(registerEvents23DV);
    DV_LOOKUP(exitDV);
    DV_LOOKUP(loginDV);
    DV_LOOKUP(loginStrDV);
    DV_LOOKUP(logoutDV);
    DV_LOOKUP(isOpenDV);
    DV_LOOKUP(infoDV);
    DV_LOOKUP(enablePayinDV);
    DV_LOOKUP(disablePayinDV);
    DV_LOOKUP(depositDV);
    DV_LOOKUP(dispenseDV);
    DV_LOOKUP(askPayoutDV);
    DV_LOOKUP(askPayout2DV);
    DV_LOOKUP(payoutDV);
    DV_LOOKUP(payout2DV);
    DV_LOOKUP(amountDueDV);
    DV_LOOKUP(changeDV);
    DV_LOOKUP(regretDV);
    DV_LOOKUP(resetDV);
#undef DV_LOOKUP
    return true;
}

void Library::unload()
{
    if (m_handle) {
        dlclose(m_handle);
        m_handle = nullptr;
    }
}

std::vector<std::string> logged(const std::string& path)
{
    std::vector<std::string> out;
    for (const std::string& line : readLines(path)) {
        // "w46 09:05:07.042 => text" or "2026-11-16 Mon w46 09:05:07.042 !! text"
        size_t at = line.find(" => ");
        for (const char* marker : {" <= ", " -> ", " <- ", " == ", " !! ", " ## "}) {
            const size_t found = line.find(marker);
            if (found != std::string::npos && (at == std::string::npos || found < at))
                at = found;
        }
        out.push_back(at == std::string::npos ? line : line.substr(at + 1));
    }
    return out;
}

bool hasLine(const std::string& path, const std::string& line)
{
    for (const std::string& l : logged(path))
        if (l == line)
            return true;
    return false;
}

std::vector<std::string> linesFrom(const std::string& path, const std::string& from)
{
    const std::vector<std::string> all = logged(path);
    for (size_t i = 0; i < all.size(); ++i)
        if (all[i] == from)
            return std::vector<std::string>(all.begin() + static_cast<long>(i) + 1, all.end());
    return all;
}

} // namespace dvtest
