// DVSharedString: a text shared by the till's thread and the device thread.
// Reads return a copy; every access holds the string's own lock for as long
// as the copy or comparison takes, and never longer.
#ifndef DV_SESSION_DVSHAREDSTRING_H
#define DV_SESSION_DVSHAREDSTRING_H

#include <mutex>
#include <string>

class DVSharedString {
public:
    DVSharedString() = default;
    explicit DVSharedString(const char* initial) : m_value(initial) {}
    DVSharedString(const DVSharedString&) = delete;
    DVSharedString& operator=(const DVSharedString&) = delete;

    std::string get() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_value;
    }
    void set(const std::string& value)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_value = value;
    }
    void clear() { set(std::string()); }
    bool equals(const std::string& value) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_value == value;
    }
    // Stores value when it differs from the current one; true when it did.
    bool replaceIfDifferent(const std::string& value)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_value == value)
            return false;
        m_value = value;
        return true;
    }

private:
    mutable std::mutex m_mutex;
    std::string m_value;
};

#endif
