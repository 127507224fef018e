#include "recorder.h"

namespace dvtest {

std::string Event::str() const
{
    std::string s = kind + " " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(c);
    for (const auto& t : texts)
        s += " [" + t + "]";
    return s;
}

Recorder& Recorder::instance()
{
    static Recorder recorder;
    return recorder;
}

void Recorder::add(const Event& e)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_events.push_back(e);
}

std::vector<Event> Recorder::events() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

std::vector<Event> Recorder::of(const std::string& kind) const
{
    std::vector<Event> out;
    for (const Event& e : events())
        if (e.kind == kind)
            out.push_back(e);
    return out;
}

void Recorder::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_events.clear();
}

void Recorder::status(int amount, short status, short mode)
{
    Event e;
    e.kind = "status";
    e.a = amount;
    e.b = status;
    e.c = mode;
    instance().add(e);
}

void Recorder::error(int code, char* text, char* ext)
{
    Event e;
    e.kind = "error";
    e.a = code;
    e.texts = {text, ext};
    instance().add(e);
}

void Recorder::level(long denomination, short numberOf, char* ext)
{
    Event e;
    e.kind = "level";
    e.a = denomination;
    e.b = numberOf;
    e.texts = {ext};
    instance().add(e);
}

void Recorder::warning(short type, long denomination, short numberOf, char* typeString, char* denominationString,
                       char* warningMessage, char* ext)
{
    Event e;
    e.kind = "warning";
    e.a = type;
    e.b = denomination;
    e.c = numberOf;
    e.texts = {typeString, denominationString, warningMessage, ext};
    instance().add(e);
}

void Recorder::session(short type, int amount, char* ext)
{
    Event e;
    e.kind = "session";
    e.a = type;
    e.b = amount;
    e.texts = {ext};
    instance().add(e);
}

} // namespace dvtest
