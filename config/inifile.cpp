#include "config/inifile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string trim(const std::string& s)
{
    size_t begin = 0, end = s.size();
    while (begin < end && isBlank(s[begin]))
        ++begin;
    while (end > begin && isBlank(s[end - 1]))
        --end;
    return s.substr(begin, end - begin);
}

std::string lower(std::string s)
{
    for (char& c : s)
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string valueOf(const std::string& raw)
{
    std::string value = trim(raw);
    if (value.size() >= 2 && value.front() == '"') {
        const size_t close = value.find('"', 1);
        if (close != std::string::npos)
            return value.substr(1, close - 1);
    }
    for (size_t i = 0; i < value.size(); ++i) {
        if ((value[i] == ';' || value[i] == '#') && (i == 0 || isBlank(value[i - 1]))) {
            value.erase(i);
            break;
        }
    }
    return trim(value);
}

} // namespace

CIniFile::CIniFile(const std::string& path) : m_path(path) {}

void CIniFile::Clear()
{
    m_sections.clear();
    m_comments.clear();
}

bool CIniFile::ReadFile()
{
    Clear();
    if (m_path.empty())
        return false;
    FILE* file = fopen(m_path.c_str(), "r");
    if (!file)
        return false;
    std::string text;
    char chunk[8192];
    size_t n;
    while (text.size() < kMaxFileSize && (n = fread(chunk, 1, sizeof chunk, file)) > 0)
        text.append(chunk, std::min(n, kMaxFileSize - text.size()));
    fclose(file);
    Parse(text);
    return true;
}

void CIniFile::Parse(const std::string& text)
{
    std::string section;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        const std::string line = trim(text.substr(start, end - start));
        start = end + 1;

        if (line.empty())
            continue;
        if (line[0] == ';' || line[0] == '#') {
            m_comments.push_back(line);
            continue;
        }
        if (line[0] == '[') {
            const size_t close = line.find(']');
            section = lower(trim(line.substr(1, close == std::string::npos ? std::string::npos : close - 1)));
            m_sections[section]; // an empty section still exists
            continue;
        }
        const size_t equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        const std::string key = lower(trim(line.substr(0, equals)));
        if (key.empty())
            continue;
        m_sections[section].emplace(key, valueOf(line.substr(equals + 1))); // first one wins
    }
}

bool CIniFile::HasValue(const std::string& section, const std::string& key) const
{
    const auto s = m_sections.find(lower(section));
    return s != m_sections.end() && s->second.count(lower(key)) != 0;
}

std::string CIniFile::GetValue(const std::string& section, const std::string& key,
                               const std::string& def) const
{
    const auto s = m_sections.find(lower(section));
    if (s == m_sections.end())
        return def;
    const auto k = s->second.find(lower(key));
    return k == s->second.end() ? def : k->second;
}

size_t CIniFile::NumKeys(const std::string& section) const
{
    const auto s = m_sections.find(lower(section));
    return s == m_sections.end() ? 0 : s->second.size();
}

int GetPrivateProfileInt(const char* section, const char* key, int def, const CIniFile& file)
{
    if (!section || !key || !file.HasValue(section, key))
        return def;
    const std::string value = file.GetValue(section, key);
    if (value.empty())
        return def;
    errno = 0;
    long number = strtol(value.c_str(), nullptr, 10);
    if (number > INT_MAX)
        number = INT_MAX;
    if (number < INT_MIN)
        number = INT_MIN;
    return static_cast<int>(number);
}

int GetPrivateProfileInt(const char* section, const char* key, int def, const char* path)
{
    CIniFile file(path ? path : "");
    file.ReadFile();
    return GetPrivateProfileInt(section, key, def, file);
}

size_t GetPrivateProfileString(const char* section, const char* key, const char* def,
                               char* buffer, size_t size, const CIniFile& file)
{
    if (!buffer || size == 0)
        return 0;
    std::string value = def ? def : "";
    if (section && key && file.HasValue(section, key))
        value = file.GetValue(section, key);
    const size_t n = std::min(value.size(), size - 1);
    memcpy(buffer, value.data(), n);
    buffer[n] = '\0';
    return strlen(buffer); // a NUL byte inside the value ends the text
}

size_t GetPrivateProfileString(const char* section, const char* key, const char* def,
                               char* buffer, size_t size, const char* path)
{
    CIniFile file(path ? path : "");
    file.ReadFile();
    return GetPrivateProfileString(section, key, def, buffer, size, file);
}
