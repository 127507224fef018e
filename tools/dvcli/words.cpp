#include "words.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace dvcli {

namespace {
bool blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
} // namespace

bool splitWords(const std::string& line, std::vector<std::string>& words, std::string& error)
{
    words.clear();
    size_t i = 0;
    const size_t n = line.size();
    while (i < n) {
        while (i < n && blank(line[i]))
            ++i;
        if (i >= n || line[i] == '#')
            break;
        std::string word;
        while (i < n && !blank(line[i])) {
            if (line[i] != '"') {
                word.push_back(line[i++]);
                continue;
            }
            ++i; // opening quote
            bool closed = false;
            while (i < n) {
                const char c = line[i++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c == '\\' && i < n && (line[i] == '"' || line[i] == '\\'))
                    word.push_back(line[i++]);
                else
                    word.push_back(c);
            }
            if (!closed) {
                error = "unterminated quote";
                return false;
            }
        }
        words.push_back(word);
    }
    return true;
}

std::string joinWords(const std::vector<std::string>& words, size_t from)
{
    std::string out;
    for (size_t i = from; i < words.size(); ++i) {
        if (i > from)
            out.push_back(' ');
        out += words[i];
    }
    return out;
}

bool parseNumber(const std::string& text, long long lo, long long hi, long long& out)
{
    size_t i = 0;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        ++i;
    if (i == text.size() || text.size() > 20)
        return false;
    for (size_t k = i; k < text.size(); ++k)
        if (text[k] < '0' || text[k] > '9')
            return false;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    if (errno == ERANGE || value < lo || value > hi)
        return false;
    out = value;
    return true;
}

std::string printable(const std::string& text)
{
    std::string out;
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out.push_back('\\');
            out.push_back(static_cast<char>(c));
        } else if (c < 0x20 || c == 0x7f) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out;
}

std::string quoted(const std::string& text)
{
    return "\"" + printable(text) + "\"";
}

std::string money(long long amount, int decimals)
{
    if (decimals <= 0 || decimals > 6)
        return std::to_string(amount);
    const bool negative = amount < 0;
    unsigned long long magnitude =
        negative ? 0ULL - static_cast<unsigned long long>(amount) : static_cast<unsigned long long>(amount);
    unsigned long long unit = 1;
    for (int i = 0; i < decimals; ++i)
        unit *= 10;
    std::string fraction = std::to_string(magnitude % unit);
    fraction.insert(0, static_cast<size_t>(decimals) - fraction.size(), '0');
    return (negative ? "-" : "") + std::to_string(magnitude / unit) + "." + fraction;
}

} // namespace dvcli
