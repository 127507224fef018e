#include "events.h"

#include "output.h"
#include "words.h"

#include <chrono>
#include <climits>

namespace dvcli {

namespace {

const char* statusWord(long long status)
{
    switch (status) {
    case 0: return "enabled";
    case 1: return "working";
    case 2: return "error";
    case 3: return "disabled";
    default: return "?";
    }
}

const char* sessionWord(long long type)
{
    static const char* const names[] = {"BO/WD", "BO/RF", "CR/WD", "CR/RF", "device"};
    return type >= 0 && type <= 4 ? names[type] : "?";
}

std::string text(const char* s)
{
    return s ? std::string(s) : std::string();
}

// Records and prints an event; never lets an exception out into the
// library's thread.
void deliver(Event event) noexcept
{
    try {
        // Printed before it is recorded: a script that waits for this event
        // prints its next command only after the event's line.
        Output::instance().event(event.describe());
        EventLog::instance().add(event);
    } catch (...) {
    }
}

} // namespace

const char* eventKindName(EventKind kind)
{
    switch (kind) {
    case EventKind::Status: return "status";
    case EventKind::Error: return "error";
    case EventKind::Level: return "level";
    case EventKind::Warning: return "warning";
    case EventKind::Session: return "session";
    }
    return "?";
}

bool eventKindByName(const std::string& name, EventKind& kind)
{
    for (EventKind k : {EventKind::Status, EventKind::Error, EventKind::Level, EventKind::Warning,
                        EventKind::Session}) {
        if (name == eventKindName(k)) {
            kind = k;
            return true;
        }
    }
    return false;
}

std::vector<std::string> eventFieldNames(EventKind kind)
{
    switch (kind) {
    case EventKind::Status: return {"amount", "status", "mode"};
    case EventKind::Error: return {"code"};
    case EventKind::Level: return {"denomination", "left"};
    case EventKind::Warning: return {"type", "denomination", "left"};
    case EventKind::Session: return {"type", "amount"};
    }
    return {};
}

std::string Event::describe() const
{
    auto n = [this](size_t i) { return i < numbers.size() ? numbers[i] : 0LL; };
    auto t = [this](size_t i) { return quoted(i < texts.size() ? texts[i] : std::string()); };
    auto num = [](long long v) { return std::to_string(v); };
    std::string out = padded(eventKindName(kind), 8) + " ";
    switch (kind) {
    case EventKind::Status:
        out += padded("amount " + num(n(0)), 14) + "  " + padded("status " + num(n(1)) + " " + statusWord(n(1)), 18) +
               "  mode " + num(n(2)) + (n(2) == 1 ? " open" : " closed");
        break;
    case EventKind::Error:
        out += "code " + num(n(0)) + "  " + t(0) + "  " + t(1);
        break;
    case EventKind::Level:
        out += padded("denomination " + num(n(0)), 19) + "  left " + num(n(1)) + "  " + t(0);
        break;
    case EventKind::Warning:
        out += "type " + num(n(0)) + " " + t(0) + "  denomination " + num(n(1)) + " " + t(1) + "  left " +
               num(n(2)) + "  " + t(2) + "  " + t(3);
        break;
    case EventKind::Session:
        out += "type " + num(n(0)) + " " + sessionWord(n(0)) + "  amount " + num(n(1)) + "  " + t(0);
        break;
    }
    return out;
}

bool EventPattern::matches(const Event& event) const
{
    if (event.kind != kind)
        return false;
    for (size_t i = 0; i < values.size(); ++i) {
        if (any[i])
            continue;
        if (i >= event.numbers.size() || event.numbers[i] != values[i])
            return false;
    }
    return true;
}

std::string EventPattern::describe() const
{
    std::string out = eventKindName(kind);
    const std::vector<std::string> names = eventFieldNames(kind);
    for (size_t i = 0; i < values.size(); ++i) {
        if (!any[i])
            out += " " + names[i] + " " + std::to_string(values[i]);
    }
    return out;
}

bool parseEventPattern(const std::vector<std::string>& words, size_t from, EventPattern& pattern,
                       std::string& error)
{
    if (from >= words.size()) {
        error = "which event? (status, error, level, warning or session)";
        return false;
    }
    EventPattern p;
    if (!eventKindByName(words[from], p.kind)) {
        error = "unknown event kind '" + printable(words[from]) + "' (status, error, level, warning, session)";
        return false;
    }
    const std::vector<std::string> names = eventFieldNames(p.kind);
    const size_t given = words.size() - from - 1;
    if (given > names.size()) {
        error = std::string("a ") + eventKindName(p.kind) + " event has " + std::to_string(names.size()) +
                " field(s): " + joinWords(names, 0);
        return false;
    }
    for (size_t i = 0; i < given; ++i) {
        const std::string& w = words[from + 1 + i];
        long long value = 0;
        if (w == "*") {
            p.any.push_back(true);
            p.values.push_back(0);
        } else if (parseNumber(w, LLONG_MIN / 2, LLONG_MAX / 2, value)) {
            p.any.push_back(false);
            p.values.push_back(value);
        } else {
            error = "the " + names[i] + " field must be a number or '*', not '" + printable(w) + "'";
            return false;
        }
    }
    pattern = p;
    return true;
}

EventLog& EventLog::instance()
{
    static EventLog* const log = new EventLog();
    return *log;
}

void EventLog::add(const Event& event)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(event);
    }
    m_arrived.notify_all();
}

size_t EventLog::size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events.size();
}

Event EventLog::at(size_t index) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return index < m_events.size() ? m_events[index] : Event();
}

long EventLog::waitFor(const EventPattern& pattern, size_t from, int timeoutMs) const
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs < 0 ? 0 : timeoutMs);
    std::unique_lock<std::mutex> lock(m_mutex);
    size_t next = from;
    for (;;) {
        for (; next < m_events.size(); ++next)
            if (pattern.matches(m_events[next]))
                return static_cast<long>(next);
        if (m_arrived.wait_until(lock, deadline) == std::cv_status::timeout) {
            for (; next < m_events.size(); ++next)
                if (pattern.matches(m_events[next]))
                    return static_cast<long>(next);
            return -1;
        }
    }
}

namespace callbacks {

void status(int amount, short status, short mode)
{
    Event e;
    e.kind = EventKind::Status;
    e.numbers = {amount, status, mode};
    deliver(e);
}

void error(int errorCode, char* errorText, char* extInfo)
{
    Event e;
    e.kind = EventKind::Error;
    e.numbers = {errorCode};
    e.texts = {text(errorText), text(extInfo)};
    deliver(e);
}

void level(long denomination, short numberOf, char* extInfo)
{
    Event e;
    e.kind = EventKind::Level;
    e.numbers = {denomination, numberOf};
    e.texts = {text(extInfo)};
    deliver(e);
}

void warning(short warningType, long denomination, short numberOf, char* typeString, char* denominationString,
             char* warningMessage, char* extInfo)
{
    Event e;
    e.kind = EventKind::Warning;
    e.numbers = {warningType, denomination, numberOf};
    e.texts = {text(typeString), text(denominationString), text(warningMessage), text(extInfo)};
    deliver(e);
}

void session(short infoType, int amount, char* extInfo)
{
    Event e;
    e.kind = EventKind::Session;
    e.numbers = {infoType, amount};
    e.texts = {text(extInfo)};
    deliver(e);
}

} // namespace callbacks

} // namespace dvcli
