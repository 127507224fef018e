// Scripts (the console's commands from a file, stopping at the first
// result that was not expected) and the interactive console.
#include "programs.h"

#include "interpreter.h"
#include "lineedit.h"
#include "output.h"

#include <fstream>
#include <iostream>

namespace dvcli {

int runScript(const Device& device, const std::string& portSettings, const std::string& file)
{
    Output& out = Output::instance();
    std::ifstream stream;
    std::istream* in = &std::cin;
    const std::string name = file == "-" ? "<stdin>" : file;
    if (file != "-") {
        stream.open(file);
        if (!stream) {
            out.errorLine("dvcli: cannot read " + file);
            return 2;
        }
        in = &stream;
    }
    Interpreter interpreter(device, portSettings);
    interpreter.setStrict(true);
    std::string line;
    size_t number = 0;
    Problem problem;
    Outcome outcome = Outcome::Done;
    while (outcome != Outcome::Quit && std::getline(*in, line)) {
        ++number;
        interpreter.setLine(number);
        outcome = interpreter.execute(line, problem);
        if (outcome == Outcome::BadInput) {
            out.errorLine(name + ":" + std::to_string(problem.line) + ": error: " + problem.text);
            return 2;
        }
        if (outcome == Outcome::Unexpected) {
            out.errorLine(name + ":" + std::to_string(problem.line) + ": FAILED: " + problem.text);
            return 1;
        }
    }
    if (interpreter.finish(problem) == Outcome::Unexpected) {
        out.errorLine(name + ":" + std::to_string(problem.line) + ": FAILED: " + problem.text);
        return 1;
    }
    out.line(name + ": passed, " + std::to_string(interpreter.expectationsMet()) + " expectation(s) met",
             Tone::Good);
    return 0;
}

int runConsole(const Device& device, const std::string& portSettings)
{
    Output& out = Output::instance();
    Interpreter interpreter(device, portSettings);
    std::vector<std::string> words = Interpreter::commandNames();
    LineReader reader("dv> ", words);
    if (reader.interactive()) {
        out.line("dvcli console: 'help' lists the commands, 'quit' or Ctrl-D leaves.", Tone::Heading);
        out.line(device.simulator() ? "device: the simulator " + device.path() + " ('sim help' steers it)"
                 : device.path().empty() ? std::string("device: liblinkora.so.1 from the system's library path")
                                         : "device: " + device.path());
    }
    std::string line;
    size_t number = 0;
    while (reader.read(line)) {
        interpreter.setLine(++number);
        Problem problem;
        const Outcome outcome = interpreter.execute(line, problem);
        if (outcome == Outcome::Quit)
            break;
        if (outcome == Outcome::BadInput)
            out.line("error: " + problem.text, Tone::Bad);
        else if (outcome == Outcome::Unexpected)
            out.line("not as expected: " + problem.text, Tone::Bad);
    }
    return 0;
}

} // namespace dvcli
