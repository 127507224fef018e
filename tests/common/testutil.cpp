#include "testutil.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <dirent.h>
#include <sys/stat.h>

namespace dvtest {

TempDir::TempDir()
{
    char pattern[] = "/tmp/dvtest.XXXXXX";
    if (!mkdtemp(pattern))
        throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
}

TempDir::~TempDir()
{
    removeTree(m_path);
}

void removeTree(const std::string& path)
{
    if (path.empty() || path == "/")
        return;
    const std::string command = "chmod -R u+rwx '" + path + "' 2>/dev/null; rm -rf '" + path + "'";
    if (system(command.c_str()) != 0) {
    }
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<std::string> readLines(const std::string& path)
{
    std::vector<std::string> lines;
    std::ifstream in(path, std::ios::binary);
    std::string line;
    while (std::getline(in, line))
        lines.push_back(line);
    return lines;
}

void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

bool fileExists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

std::vector<std::string> grep(const std::string& path, const std::string& needle)
{
    std::vector<std::string> found;
    for (const std::string& line : readLines(path))
        if (line.find(needle) != std::string::npos)
            found.push_back(line);
    return found;
}

bool anyLineMatches(const std::string& path, const std::string& regex)
{
    const std::regex re(regex);
    for (const std::string& line : readLines(path))
        if (std::regex_match(line, re))
            return true;
    return false;
}

void setEnv(const char* name, const char* value)
{
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}


std::string getEnv(const char* name)
{
    const char* value = getenv(name);
    return value ? value : "";
}

std::vector<std::string> listDir(const std::string& path)
{
    std::vector<std::string> names;
    if (DIR* d = opendir(path.c_str())) {
        while (const struct dirent* e = readdir(d)) {
            const std::string name = e->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
        closedir(d);
    }
    return names;
}

} // namespace dvtest
