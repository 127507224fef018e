// Events from the library: the five callbacks dvcli registers, the log of
// every event received, and patterns that scripts match events against.
#ifndef DVCLI_EVENTS_H
#define DVCLI_EVENTS_H

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "dvlogics.h"

namespace dvcli {

enum class EventKind { Status, Error, Level, Warning, Session };

// One event as the callback received it: its numbers in the order of the
// callback's arguments, and copies of its texts.
struct Event {
    EventKind kind = EventKind::Status;
    std::vector<long long> numbers;
    std::vector<std::string> texts;

    // One line, e.g. "status   amount 2000  status 0 enabled  mode 1 open".
    std::string describe() const;
};

const char* eventKindName(EventKind kind);
bool eventKindByName(const std::string& name, EventKind& kind);
// Names of the numeric fields of a kind, in order ("amount status mode").
std::vector<std::string> eventFieldNames(EventKind kind);

// An expected event: the kind, and for each numeric field either a value or
// "any" ('*', or a field left out at the end).
struct EventPattern {
    EventKind kind = EventKind::Status;
    std::vector<bool> any;
    std::vector<long long> values;

    bool matches(const Event& event) const;
    std::string describe() const;
};

// Reads "KIND [FIELD...]" from words[from...].
bool parseEventPattern(const std::vector<std::string>& words, size_t from, EventPattern& pattern,
                       std::string& error);

// Every event received since the start, in order of arrival. Written by
// the device thread, read by the main thread.
class EventLog {
public:
    static EventLog& instance(); // never destroyed

    void add(const Event& event);
    size_t size() const;
    Event at(size_t index) const;
    // Index of the first event at or after `from` that matches, waiting up
    // to timeoutMs for it to arrive; -1 when none came.
    long waitFor(const EventPattern& pattern, size_t from, int timeoutMs) const;

private:
    EventLog() = default;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_arrived;
    std::vector<Event> m_events;
};

// The callbacks: each records the event and prints it.
namespace callbacks {
void status(int amount, short status, short mode);
void error(int errorCode, char* errorText, char* extInfo);
void level(long denomination, short numberOf, char* extInfo);
void warning(short warningType, long denomination, short numberOf, char* typeString, char* denominationString,
             char* warningMessage, char* extInfo);
void session(short infoType, int amount, char* extInfo);
} // namespace callbacks

} // namespace dvcli

#endif
