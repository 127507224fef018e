// Helpers shared by the fuzz targets.
//
// Every target runs the library in-process (dvlogics_core). Before the first
// input it isolates the library from the machine: the log files are links to
// /dev/null (every line is still formatted and written, nothing piles up),
// and the configuration directories ($DVCONFIG, the current directory, the
// system directory) are one empty temporary directory, so that a
// dvlogics.ini or dvlang.ini lying around cannot change the outcome.
#ifndef DV_FUZZ_FUZZSUPPORT_H
#define DV_FUZZ_FUZZSUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

// A property that must hold for every input; a failure is a finding.
#define FUZZ_CHECK(cond)                                                                       \
    do {                                                                                       \
        if (!(cond)) {                                                                         \
            fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #cond);        \
            abort();                                                                           \
        }                                                                                      \
    } while (0)

namespace dvfuzz {

// Sets up the isolated environment once (idempotent). Returns the empty
// configuration directory, where a target may write configuration files.
const std::string& isolate();

// The bytes as a C text in a heap block of exactly size + 1 bytes, so that
// AddressSanitizer sees a read past its NUL.
std::unique_ptr<char[]> cText(const uint8_t* data, size_t size);

// True when text holds a NUL within its first capacity bytes.
bool terminatedWithin(const char* text, size_t capacity);

// Reads input from the front, byte by byte; past the end it gives zeros.
class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    int32_t int32()
    {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i)
            v = (v << 8) | byte();
        return static_cast<int32_t>(v);
    }
    // The next n bytes (fewer at the end).
    std::string bytes(size_t n)
    {
        const size_t take = n < m_size - m_pos ? n : m_size - m_pos;
        std::string s(reinterpret_cast<const char*>(m_data + m_pos), take);
        m_pos += take;
        return s;
    }
    std::string rest() { return bytes(m_size - m_pos); }
    size_t left() const { return m_size - m_pos; }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

} // namespace dvfuzz

#endif
