// Till callbacks that record every event, for tests.
#ifndef DV_TESTS_RECORDER_H
#define DV_TESTS_RECORDER_H

#include <mutex>
#include <string>
#include <vector>

namespace dvtest {

struct Event {
    std::string kind; // "status", "error", "level", "warning", "session"
    long a = 0, b = 0, c = 0;
    std::vector<std::string> texts;
    std::string str() const;
};

class Recorder {
public:
    static Recorder& instance();
    void add(const Event& e);
    std::vector<Event> events() const;
    std::vector<Event> of(const std::string& kind) const;
    void clear();

    static void status(int amount, short status, short mode);
    static void error(int code, char* text, char* ext);
    static void level(long denomination, short numberOf, char* ext);
    static void warning(short type, long denomination, short numberOf, char* typeString, char* denominationString,
                        char* warningMessage, char* ext);
    static void session(short type, int amount, char* ext);

private:
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};

} // namespace dvtest

#endif
