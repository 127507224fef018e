// The three ways dvcli runs: the demo sale, a script, the console.
#ifndef DVCLI_PROGRAMS_H
#define DVCLI_PROGRAMS_H

#include "device.h"

#include <string>

namespace dvcli {

// A whole cash sale against the simulator. Returns the exit status: 0 when
// every step answered as expected, 1 otherwise, 2 when it cannot run.
int runDemo(const Device& device, const std::string& portSettings);

// Runs a script file ("-": standard input). Returns 0 when it ran to its
// end with every expectation met, 1 at the first unexpected result, 2 for a
// line that is not a valid command or a file that cannot be read.
int runScript(const Device& device, const std::string& portSettings, const std::string& file);

// The interactive console. Returns 0.
int runConsole(const Device& device, const std::string& portSettings);

// Where the library writes its logs (the same choice the library makes).
std::string logDirectory();

} // namespace dvcli

#endif
