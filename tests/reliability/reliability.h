// Helpers of the reliability tests: the integration harness (the real
// libdvlogics.so against the simulator) plus exact-size buffers, reloading
// the library after the environment changed, and checks of the log files.
#ifndef DV_TESTS_RELIABILITY_H
#define DV_TESTS_RELIABILITY_H

#include "harness.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace dvtest {

// A heap block of exactly `size` bytes: AddressSanitizer reports a write
// past it, where a stack array with room to spare would hide one.
class ExactBuffer {
public:
    explicit ExactBuffer(size_t size) : m_size(size), m_data(new char[size]) { fill('\x7f'); }
    char* get() { return m_data.get(); }
    operator char*() { return m_data.get(); }
    size_t size() const { return m_size; }
    void fill(char c) { std::fill(m_data.get(), m_data.get() + m_size, c); }
    // The text, or "<unterminated>" when no NUL lies within the buffer.
    std::string text() const;

private:
    size_t m_size;
    std::unique_ptr<char[]> m_data;
};

class ReliabilityTest : public IntegrationTest {
protected:
    // Unloads and loads the library again, so that it reads the environment
    // (DVLOGS, DVCONFIG, the current directory) anew.
    void reload();
    // The last command the simulator received ('|' for the separator), or "".
    std::string lastCommand() const;
    long commandCount() const { return dvsim_command_count(); }
    // Number of lines in a log file.
    size_t lineCount(const std::string& path) const;
    // Every line of the API and logic logs is "w<week> HH:MM:SS.mmm <marker> ...",
    // every line of the error log starts with the date and weekday.
    void expectWellFormedLogs() const;
};

} // namespace dvtest

#endif
