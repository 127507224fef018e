#include "reliability.h"

#include <cstring>
#include <regex>

namespace dvtest {

std::string ExactBuffer::text() const
{
    const void* end = memchr(m_data.get(), '\0', m_size);
    return end ? std::string(m_data.get()) : std::string("<unterminated>");
}

void ReliabilityTest::reload()
{
    lib.unload();
    ASSERT_TRUE(lib.load(libraryPath()));
}

std::string ReliabilityTest::lastCommand() const
{
    const std::vector<std::string> commands = simCommands();
    return commands.empty() ? std::string() : commands.back();
}

size_t ReliabilityTest::lineCount(const std::string& path) const
{
    return readLines(path).size();
}

void ReliabilityTest::expectWellFormedLogs() const
{
    // Only the head is matched: a line may be thousands of characters long.
    const std::regex head("w[0-5][0-9] [0-2][0-9]:[0-5][0-9]:[0-5][0-9]\\.[0-9]{3} (=>|<=|->|<-|==|!!|##) ");
    const std::regex date("[0-9]{4}-[0-1][0-9]-[0-3][0-9] (Mon|Tue|Wed|Thu|Fri|Sat|Sun) ");
    for (const std::string& path : {apiLog(), logicLog()})
        for (const std::string& l : readLines(path))
            EXPECT_TRUE(std::regex_match(l.substr(0, 20), head)) << path << ": " << l.substr(0, 200);
    for (const std::string& l : readLines(errorLog())) {
        EXPECT_TRUE(std::regex_match(l.substr(0, 15), date)) << l.substr(0, 200);
        EXPECT_TRUE(l.size() > 35 && l.compare(32, 3, "!! ") == 0) << l.substr(0, 200);
        EXPECT_TRUE(std::regex_match(l.substr(15, 20), head)) << l.substr(0, 200);
    }
}

} // namespace dvtest
