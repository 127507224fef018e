// The steerable stand-in communication library; see fakelinkora.h.
#include "fakelinkora.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

typedef bool (*ReportCallback)(unsigned char*);

struct Fake {
    std::mutex mu;
    std::condition_variable cv;
    std::string answer = "??0";
    short initResult = 0;
    std::string initAnswer = "ok";
    std::string lastCommand;
    long commands = 0;
    long delivered = 0;

    std::thread thread;
    bool linkOpen = false;
    unsigned long generation = 0; // counts link openings and closings
    int delivering = 0;           // callbacks running now
    std::deque<std::string> queue;
};

// Never destroyed: a link thread that outlives dv_dini may still use it.
Fake& fake()
{
    static Fake* f = new Fake;
    return *f;
}

void writeAnswer(char* ans, const std::string& bytes)
{
    if (!ans)
        return;
    const size_t n = std::min<size_t>(bytes.size(), 64);
    memcpy(ans, bytes.data(), n);
    if (n < 64)
        ans[n] = '\0';
}

// One link's thread; it ends when the link it belongs to is closed.
void runLink(ReportCallback callback, unsigned long generation)
{
    Fake& f = fake();
    std::unique_lock<std::mutex> lock(f.mu);
    for (;;) {
        f.cv.wait(lock, [&] { return f.generation != generation || !f.queue.empty(); });
        if (f.generation != generation)
            break;
        std::string report = std::move(f.queue.front());
        f.queue.pop_front();
        ++f.delivering;
        lock.unlock();
        // Exactly the report and its NUL, so that a read past it is seen.
        unsigned char* block = static_cast<unsigned char*>(malloc(report.size() + 1));
        if (block) {
            memcpy(block, report.data(), report.size());
            block[report.size()] = '\0';
            callback(block);
            free(block);
        }
        lock.lock();
        --f.delivering;
        ++f.delivered;
        f.cv.notify_all();
    }
    f.cv.notify_all();
}

void closeLink()
{
    Fake& f = fake();
    std::thread old;
    {
        std::lock_guard<std::mutex> lock(f.mu);
        if (!f.linkOpen)
            return;
        f.linkOpen = false;
        ++f.generation;
        f.queue.clear();
        old = std::move(f.thread);
        f.cv.notify_all();
    }
    if (old.joinable()) {
        if (old.get_id() == std::this_thread::get_id())
            old.detach(); // closed from inside its own callback
        else
            old.join();
    }
}

} // namespace

FAKE_EXPORT void dv_initiate2(ReportCallback callback, char* portName, char* ans, short* result)
{
    (void)portName;
    closeLink();
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    writeAnswer(ans, f.initAnswer);
    if (result)
        *result = f.initResult;
    if (f.initResult != 0 || !callback)
        return;
    f.linkOpen = true;
    f.thread = std::thread(runLink, callback, ++f.generation);
}

FAKE_EXPORT void dv_002(char* req, char* ans)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    f.lastCommand = req ? std::string(req) : std::string();
    ++f.commands;
    writeAnswer(ans, f.answer);
}

FAKE_EXPORT void dv_dini(void)
{
    closeLink();
}

FAKE_EXPORT void fakelink_set_answer(const char* bytes, size_t size)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    f.answer.assign(bytes ? bytes : "", bytes ? size : 0);
}

FAKE_EXPORT void fakelink_set_initiate(short result, const char* bytes, size_t size)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    f.initResult = result;
    f.initAnswer.assign(bytes ? bytes : "", bytes ? size : 0);
}

FAKE_EXPORT long fakelink_command_count(void)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    return f.commands;
}

FAKE_EXPORT long fakelink_last_command(char* buf, size_t size)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    if (f.commands == 0)
        return -1;
    if (buf && size > 0) {
        const size_t n = std::min(size - 1, f.lastCommand.size());
        memcpy(buf, f.lastCommand.data(), n);
        buf[n] = '\0';
    }
    return static_cast<long>(f.lastCommand.size());
}

FAKE_EXPORT int fakelink_deliver(const char* bytes, size_t size)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    if (!f.linkOpen)
        return -1;
    f.queue.emplace_back(bytes ? bytes : "", bytes ? size : 0);
    f.cv.notify_all();
    return 0;
}

FAKE_EXPORT int fakelink_wait_idle(int timeout_ms)
{
    Fake& f = fake();
    std::unique_lock<std::mutex> lock(f.mu);
    const bool idle = f.cv.wait_for(lock, std::chrono::milliseconds(timeout_ms),
                                    [&] { return f.queue.empty() && f.delivering == 0; });
    return idle ? 0 : -1;
}

FAKE_EXPORT int fakelink_link_open(void)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    return f.linkOpen ? 1 : 0;
}

FAKE_EXPORT long fakelink_delivered(void)
{
    Fake& f = fake();
    std::lock_guard<std::mutex> lock(f.mu);
    return f.delivered;
}
