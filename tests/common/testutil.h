// Small helpers shared by the test programs.
#ifndef DV_TESTS_TESTUTIL_H
#define DV_TESTS_TESTUTIL_H

#include <string>
#include <vector>

namespace dvtest {

// A fresh directory under /tmp, removed with its content when destroyed.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

std::string readFile(const std::string& path);
std::vector<std::string> readLines(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
bool fileExists(const std::string& path);
void removeTree(const std::string& path);

// Lines of a file that contain needle.
std::vector<std::string> grep(const std::string& path, const std::string& needle);
// True when some line of the file matches the ECMAScript regex exactly.
bool anyLineMatches(const std::string& path, const std::string& regex);

// Sets or unsets an environment variable (null value unsets).
void setEnv(const char* name, const char* value);
// An environment variable's value ("" when unset).
std::string getEnv(const char* name);

// Names in a directory, without "." and "..".
std::vector<std::string> listDir(const std::string& path);

} // namespace dvtest

#endif
