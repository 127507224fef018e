// CIniFile: a small INI reader for dvlogics.ini and dvlang.ini, and the two
// profile readers built on it.
//
// Rules: section and key names match without regard to case; blanks around
// names and values are trimmed; a line starting with ';' or '#' is a comment,
// and so is the rest of a value from a ';' or '#' that starts the value or
// follows a blank; a value in double quotes keeps its quotes' content as it
// stands (so a translation may start with a blank or contain ';'). The first
// occurrence of a key wins. Files are read up to 1 MiB; the rest is ignored.
#ifndef DV_CONFIG_INIFILE_H
#define DV_CONFIG_INIFILE_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

class CIniFile {
public:
    explicit CIniFile(const std::string& path = std::string());

    void Path(const std::string& path) { m_path = path; }
    const std::string& Path() const { return m_path; }

    // Reads the file named by Path(); false when it cannot be opened.
    bool ReadFile();
    // Parses INI text (used by ReadFile, and by tests and fuzzers).
    void Parse(const std::string& text);
    void Clear();

    bool HasValue(const std::string& section, const std::string& key) const;
    // The value, or def when the section or key is absent.
    std::string GetValue(const std::string& section, const std::string& key,
                         const std::string& def = std::string()) const;

    size_t NumSections() const { return m_sections.size(); }
    size_t NumKeys(const std::string& section) const;
    const std::vector<std::string>& Comments() const { return m_comments; }

    static const size_t kMaxFileSize = 1024 * 1024;

private:
    std::string m_path;
    // lower-case section name -> lower-case key name -> value
    std::map<std::string, std::map<std::string, std::string>> m_sections;
    std::vector<std::string> m_comments;
};

// Integer value of section/key in the file, or def when the file, section or
// key is absent or the value is empty. A value that does not start with a
// number reads as 0 (digits are read as far as they go, like atoi).
int GetPrivateProfileInt(const char* section, const char* key, int def, const char* path);
int GetPrivateProfileInt(const char* section, const char* key, int def, const CIniFile& file);

// Copies the value (or def) into buffer, at most size-1 characters, and
// returns the length copied.
size_t GetPrivateProfileString(const char* section, const char* key, const char* def,
                               char* buffer, size_t size, const char* path);
size_t GetPrivateProfileString(const char* section, const char* key, const char* def,
                               char* buffer, size_t size, const CIniFile& file);

#endif
