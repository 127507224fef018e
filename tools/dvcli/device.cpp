#include "device.h"

#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

#ifndef DVCLI_SIM_FROM_BUILD
#define DVCLI_SIM_FROM_BUILD "../../sim/liblinkora.so.1"
#endif
#ifndef DVCLI_SIM_FROM_INSTALL
#define DVCLI_SIM_FROM_INSTALL "../lib/dvlogics/sim/liblinkora.so.1"
#endif

namespace dvcli {

namespace {

std::string ownDirectory()
{
    char buffer[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0)
        return ".";
    std::string path(buffer, static_cast<size_t>(n));
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string canonical(const std::string& path)
{
    char buffer[PATH_MAX];
    return realpath(path.c_str(), buffer) ? std::string(buffer) : path;
}

template <typename F>
void lookUp(void* handle, const char* name, F& function)
{
    function = reinterpret_cast<F>(dlsym(handle, name));
}

} // namespace

std::vector<std::string> Device::simulatorCandidates()
{
    const std::string dir = ownDirectory();
    return {dir + "/" DVCLI_SIM_FROM_BUILD, dir + "/" DVCLI_SIM_FROM_INSTALL};
}

bool Device::load(Choice choice, const std::string& file, std::string& error)
{
    m_choice = choice;
    m_sim = SimApi();
    m_path.clear();
    if (choice == Choice::System)
        return true;

    std::string path = file;
    if (choice == Choice::Simulator) {
        path.clear();
        std::string tried;
        for (const std::string& candidate : simulatorCandidates()) {
            if (access(candidate.c_str(), R_OK) == 0) {
                path = candidate;
                break;
            }
            tried += (tried.empty() ? "" : ", ") + canonical(candidate);
        }
        if (path.empty()) {
            error = "the simulator is not beside dvcli (looked for " + tried +
                    "); use --device system for a real device or --device PATH";
            return false;
        }
    }
    path = canonical(path);
    // Loaded for good (never closed): the library's own dlopen finds this
    // copy by its SONAME.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (!handle) {
        const char* why = dlerror();
        error = "cannot load " + path + ": " + (why ? why : "unknown error");
        return false;
    }
    m_path = path;
    SimApi sim;
    lookUp(handle, "dvsim_control", sim.control);
    lookUp(handle, "dvsim_wait_idle", sim.waitIdle);
    lookUp(handle, "dvsim_insert", sim.insert);
    lookUp(handle, "dvsim_get_inventory", sim.getInventory);
    lookUp(handle, "dvsim_set_count", sim.setCount);
    lookUp(handle, "dvsim_set_profile", sim.setProfile);
    lookUp(handle, "dvsim_result_text", sim.resultText);
    if (sim.control && sim.waitIdle && sim.insert && sim.getInventory && sim.setCount && sim.setProfile &&
        sim.resultText)
        m_sim = sim;
    dlerror();
    return true;
}

} // namespace dvcli
