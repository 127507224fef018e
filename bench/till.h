// The library as a till uses it: libdvlogics.so loaded with dlopen after the
// environment is prepared, the functions a sale needs looked up by name,
// and the CountingTill's callbacks registered. The simulator is linked into
// the program, so the library's dlopen("liblinkora.so.1") finds that copy.
#ifndef DV_BENCH_TILL_H
#define DV_BENCH_TILL_H

#include "dvlogics.h"

#include <string>

namespace dvbench {

struct Till {
    short (*initDV)(char*, char*, char*) = nullptr;
    short (*registerEvents23DV)(CStatusBackFunc, CErrorBackFunc, CCashLevelBackFunc, CLevelWarningBackFunc,
                                CCashSessionBackFunc, char*) = nullptr;
    short (*exitDV)(char*) = nullptr;
    short (*loginDV)(short, short, char*) = nullptr;
    short (*logoutDV)(char*) = nullptr;
    short (*isOpenDV)(int*, char*) = nullptr;
    short (*infoDV)(int*, char*, char*, char*, char*) = nullptr;
    short (*enablePayinDV)(char*) = nullptr;
    short (*payoutDV)(int, int, char*, char*) = nullptr;

    // Loads the library (exits the program when that fails).
    void load();
    // Registers the callbacks and opens the session on the simulator with
    // the given settings text; returns initDV's status.
    short open(const std::string& settings);

    char message[DV_MESSAGE_SIZE] = "";
};

// The library's file, as built.
const char* libraryPath();

} // namespace dvbench

#endif
