#include "till.h"

#include "benchutil.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <type_traits>

namespace dvbench {

const char* libraryPath()
{
    return DVLOGICS_LIBRARY_PATH;
}

void Till::load()
{
    void* handle = dlopen(libraryPath(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        fprintf(stderr, "cannot load %s: %s\n", libraryPath(), dlerror());
        exit(1);
    }
    bool complete = true;
    auto lookup = [&](auto& function, const char* name) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(handle, name));
        if (!function) {
            fprintf(stderr, "%s: no %s\n", libraryPath(), name);
            complete = false;
        }
    };
    lookup(initDV, "initDV");
    lookup(registerEvents23DV, "registerEvents23DV");
    lookup(exitDV, "exitDV");
    lookup(loginDV, "loginDV");
    lookup(logoutDV, "logoutDV");
    lookup(isOpenDV, "isOpenDV");
    lookup(infoDV, "infoDV");
    lookup(enablePayinDV, "enablePayinDV");
    lookup(payoutDV, "payoutDV");
    if (!complete)
        exit(1);
}

short Till::open(const std::string& settings)
{
    const short registered = registerEvents23DV(&CountingTill::onStatus, &CountingTill::onError,
                                                &CountingTill::onLevel, &CountingTill::onWarning,
                                                &CountingTill::onSession, message);
    if (registered != 0)
        return registered;
    char port[] = "Type:RS232;Name:sim";
    std::string initSettings = settings;
    return initDV(port, &initSettings[0], message);
}

} // namespace dvbench
