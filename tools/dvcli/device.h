// Which liblinkora.so.1 the library talks to.
//
// libdvlogics loads "liblinkora.so.1" with dlopen when initDV runs. dvcli
// decides beforehand which copy that will be: by default it loads the
// simulator that was built or installed beside it (RTLD_NOW | RTLD_GLOBAL),
// and the library's dlopen then finds that copy, already loaded, by its
// SONAME. With --device system dvcli loads nothing and the library searches
// as it always does (a real device). --device PATH loads the given file.
//
// When the loaded copy is the simulator, its dvsim_ control functions are
// looked up with dlsym; dvcli never links the simulator.
#ifndef DVCLI_DEVICE_H
#define DVCLI_DEVICE_H

#include <cstddef>
#include <string>
#include <vector>

#include "dvsim.h"

namespace dvcli {

// The simulator's control functions used by dvcli.
struct SimApi {
    int (*control)(const char*, char*, size_t) = nullptr;
    int (*waitIdle)(int) = nullptr;
    int (*insert)(long) = nullptr;
    int (*getInventory)(dvsim_inventory*) = nullptr;
    int (*setCount)(long, long) = nullptr;
    int (*setProfile)(int) = nullptr;
    const char* (*resultText)(int) = nullptr;
};

class Device {
public:
    enum class Choice { Simulator, System, File };

    // Loads the device library as chosen (`file` for Choice::File). On
    // failure `error` says what was tried.
    bool load(Choice choice, const std::string& file, std::string& error);

    // Whether the simulator's control functions are available.
    bool simulator() const { return m_sim.control != nullptr; }
    const SimApi& sim() const { return m_sim; }
    // The file loaded, empty for Choice::System.
    const std::string& path() const { return m_path; }
    Choice choice() const { return m_choice; }

    // The simulator files dvcli looks for, beside its own executable.
    static std::vector<std::string> simulatorCandidates();

private:
    Choice m_choice = Choice::System;
    std::string m_path;
    SimApi m_sim;
};

} // namespace dvcli

#endif
