// The process-wide simulator: one device model, the link (the thread that
// delivers reports), the control socket, and every exported function. All
// model access goes through one lock, which is never held while a report
// callback runs.
#include "config.h"
#include "device.h"
#include "socket.h"

#include "dvsim.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

#define DVSIM_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using dvsim::Device;

typedef bool (*ReportCallback)(unsigned char*);

// One open link: its callback and the thread that calls it.
struct Link {
    ReportCallback callback = nullptr;
    std::thread thread;
    std::thread::id id;
    bool stop = false; // guarded by Runtime::mu
};

struct Runtime {
    std::mutex mu;
    std::condition_variable cv;    // model changed, time moved, a report went out
    Device dev;
    std::shared_ptr<Link> link;    // null while no link is open
    unsigned long generation = 0;  // counts link openings and closings
    bool configured = false;       // the start configuration has been chosen
    std::string configPath;        // DVSIM_CONFIG as last applied
    std::string configError;       // why that scenario was refused; empty if fine
    int delivering = 0;            // callbacks running now
    dvsim::ControlSocket socket;
    bool socketFromEnv = false;    // opened by dv_initiate2, closed by dv_dini
};

// Never destroyed: a thread that outlives dv_dini (closed from inside its own
// callback) may still touch it while the process exits.
Runtime& rt()
{
    static Runtime* r = new Runtime;
    return *r;
}

thread_local bool tl_simThread = false;

// Applies the scenario named by DVSIM_CONFIG when it was never applied or
// the variable now names another file. Called with the lock held.
void applyEnvConfig(Runtime& r)
{
    const char* env = std::getenv("DVSIM_CONFIG");
    std::string path = env ? env : "";
    if (r.configured && path == r.configPath)
        return;
    r.configured = true;
    r.configPath = path;
    r.configError.clear();
    dvsim::Config c = dvsim::defaultConfig();
    if (!path.empty()) {
        std::string err;
        if (!dvsim::loadScenarioFile(path, c, err, nullptr)) {
            r.configError = err;
            c = dvsim::defaultConfig();
        }
    }
    r.dev.configure(c);
}

void ensureConfigured(Runtime& r)
{
    if (!r.configured)
        applyEnvConfig(r);
}

void copyText(char* dst, size_t size, const std::string& text)
{
    if (!dst || size == 0)
        return;
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(dst, text.data(), n);
    dst[n] = '\0';
}

// The simulator thread: runs timed work and delivers reports in order.
void runLink(std::shared_ptr<Link> link)
{
    tl_simThread = true;
    Runtime& r = rt();
    std::unique_lock<std::mutex> lk(r.mu);
    std::string text;
    std::unique_ptr<unsigned char[]> buf;
    while (!link->stop) {
        dvsim::Ms now = r.dev.now();
        r.dev.runDue(now);
        if (r.dev.takeReport(now, text)) {
            ReportCallback cb = link->callback;
            buf.reset(new unsigned char[text.size() + 1]);
            std::memcpy(buf.get(), text.data(), text.size());
            buf[text.size()] = 0;
            ++r.delivering;
            lk.unlock();
            try {
                cb(buf.get());
            } catch (...) {
                // a report callback must not throw; if it does, the device goes on
            }
            lk.lock();
            --r.delivering;
            r.cv.notify_all();
            continue;
        }
        r.cv.notify_all(); // waiters for idleness look again
        dvsim::Ms wake = r.dev.nextWake();
        if (wake < 0 || r.dev.manualClock())
            r.cv.wait(lk);
        else if (wake > now)
            r.cv.wait_for(lk, std::chrono::milliseconds(wake - now));
    }
}

// Closes the open link with the lock held; the caller joins afterwards.
std::shared_ptr<Link> detachLink(Runtime& r)
{
    std::shared_ptr<Link> old = r.link;
    r.link.reset();
    if (old) {
        old->stop = true;
        ++r.generation;
    }
    r.dev.setLinked(false);
    r.cv.notify_all();
    return old;
}

void finishLink(const std::shared_ptr<Link>& old)
{
    if (!old || !old->thread.joinable())
        return;
    if (old->id == std::this_thread::get_id())
        old->thread.detach(); // closed from its own callback: it ends when that returns
    else
        old->thread.join();
}

// Runs f on the model with the lock held; exceptions become results.
template <class F>
int withDevice(F f)
{
    try {
        Runtime& r = rt();
        std::lock_guard<std::mutex> lk(r.mu);
        ensureConfigured(r);
        int rc = f(r.dev);
        r.cv.notify_all();
        return rc;
    } catch (const std::bad_alloc&) {
        return DVSIM_E_NOMEM;
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}

long copyLogEntry(const std::deque<std::string>& log, size_t index, char* buf, size_t size)
{
    if (!buf && size != 0)
        return DVSIM_E_ARG;
    if (index >= log.size())
        return DVSIM_E_NOTFOUND;
    copyText(buf, size, log[index]);
    return static_cast<long>(log[index].size());
}

} // namespace

// ---------------------------------------------------------------------------
// The communication library's entry points

DVSIM_EXPORT void dv_initiate2(bool (*callback)(unsigned char*), char* portName, char* ans, short* result)
{
    short rc = 0;
    std::string text;
    std::shared_ptr<Link> old;
    bool socketStartedHere = false;
    try {
        Runtime& r = rt();
        const char* sock = std::getenv("DVSIM_SOCKET");
        if (sock && *sock && !r.socket.running()) {
            std::string err;
            if (r.socket.start(sock, err) != DVSIM_OK) {
                rc = 3;
                text = "control socket: " + err;
            } else {
                socketStartedHere = true;
            }
        }
        if (rc == 0) {
            std::lock_guard<std::mutex> lk(r.mu);
            applyEnvConfig(r);
            if (!r.configError.empty()) {
                rc = 1;
                text = r.configError;
            } else if (!callback) {
                rc = 2;
                text = "no report callback";
            } else {
                old = detachLink(r);
                auto link = std::make_shared<Link>();
                link->callback = callback;
                r.dev.setLinked(true);
                r.link = link;
                ++r.generation;
                link->thread = std::thread(runLink, link);
                link->id = link->thread.get_id();
                if (socketStartedHere)
                    r.socketFromEnv = true;
                text = std::string("ok simulator link open on ") + (portName ? portName : "(no port)");
            }
        }
        if (rc != 0 && socketStartedHere)
            r.socket.stop();
        finishLink(old);
    } catch (...) {
        rc = 9;
        text = "simulator internal error";
    }
    copyText(ans, 64, text);
    if (result)
        *result = rc;
}

DVSIM_EXPORT void dv_002(char* req, char* ans)
{
    std::string answer;
    unsigned latency = 0;
    try {
        Runtime& r = rt();
        std::lock_guard<std::mutex> lk(r.mu);
        ensureConfigured(r);
        std::string command = req ? std::string(req, strnlen(req, 1024)) : std::string();
        if (!r.link) {
            answer = "?L2 link not open";
        } else if (!req) {
            answer = "?M2 no command";
        } else {
            answer = r.dev.command(command);
            latency = r.dev.manualClock() ? 0 : r.dev.answerLatency();
        }
        r.cv.notify_all();
    } catch (...) {
        answer = "?E2 simulator internal error";
    }
    if (latency)
        std::this_thread::sleep_for(std::chrono::milliseconds(latency));
    copyText(ans, 64, answer);
}

DVSIM_EXPORT void dv_dini(void)
{
    try {
        Runtime& r = rt();
        std::shared_ptr<Link> old;
        bool stopSocket = false;
        {
            std::lock_guard<std::mutex> lk(r.mu);
            old = detachLink(r);
            stopSocket = r.socketFromEnv;
            r.socketFromEnv = false;
        }
        if (stopSocket)
            r.socket.stop();
        finishLink(old);
    } catch (...) {
    }
}

// ---------------------------------------------------------------------------
// Control API

DVSIM_EXPORT const char* dvsim_result_text(int result)
{
    switch (result) {
    case DVSIM_OK: return "ok";
    case DVSIM_E_ARG: return "bad argument";
    case DVSIM_E_STATE: return "not possible in this state";
    case DVSIM_E_BUSY: return "device busy";
    case DVSIM_E_NOTFOUND: return "not found";
    case DVSIM_E_TIMEOUT: return "timed out";
    case DVSIM_E_IO: return "input/output error";
    case DVSIM_E_PARSE: return "malformed scenario";
    case DVSIM_E_NOMEM: return "out of memory";
    case DVSIM_E_INTERNAL: return "internal error";
    default: return "unknown result";
    }
}

DVSIM_EXPORT int dvsim_get_status(dvsim_status* out)
{
    if (!out)
        return DVSIM_E_ARG;
    try {
        Runtime& r = rt();
        std::lock_guard<std::mutex> lk(r.mu);
        ensureConfigured(r);
        r.dev.runDue(r.dev.now());
        const dvsim::DeviceState& s = r.dev.state();
        out->link_open = r.link ? 1 : 0;
        out->session_open = s.sessionOpen ? 1 : 0;
        out->status = r.dev.statusDigit();
        out->paid_in = s.paidIn;
        out->fault_code = s.fault ? s.faultCode : 0;
        out->legacy = s.legacy ? 1 : 0;
        out->pending_reports = static_cast<unsigned>(s.outbox.size());
        r.cv.notify_all();
        return DVSIM_OK;
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}

DVSIM_EXPORT int dvsim_insert(long value)
{
    return withDevice([&](Device& d) { return d.insert(value); });
}

DVSIM_EXPORT int dvsim_get_inventory(dvsim_inventory* out)
{
    if (!out)
        return DVSIM_E_ARG;
    return withDevice([&](Device& d) {
        const dvsim::DeviceState& s = d.state();
        std::memset(out, 0, sizeof *out);
        copyText(out->currency, sizeof out->currency, s.currency);
        out->decimals = s.decimals;
        out->count = s.denoms.size();
        for (size_t i = 0; i < s.denoms.size() && i < DVSIM_MAX_DENOMINATIONS; ++i) {
            out->denominations[i].value = s.denoms[i].value;
            out->denominations[i].count = s.denoms[i].count;
            out->denominations[i].low = s.denoms[i].low;
            out->denominations[i].high = s.denoms[i].high;
        }
        return DVSIM_OK;
    });
}

DVSIM_EXPORT int dvsim_set_inventory(const dvsim_inventory* in)
{
    if (!in || in->count > DVSIM_MAX_DENOMINATIONS)
        return DVSIM_E_ARG;
    std::string currency(in->currency, strnlen(in->currency, sizeof in->currency));
    std::vector<dvsim::DenomConfig> denoms;
    for (size_t i = 0; i < in->count; ++i) {
        const dvsim_denomination& x = in->denominations[i];
        denoms.push_back(dvsim::DenomConfig{x.value, x.count, x.low, x.high});
    }
    return withDevice([&](Device& d) { return d.setInventory(currency, in->decimals, denoms); });
}

DVSIM_EXPORT int dvsim_set_count(long value, long count)
{
    return withDevice([&](Device& d) { return d.setCount(value, count); });
}

DVSIM_EXPORT int dvsim_get_count(long value, long* count)
{
    if (!count)
        return DVSIM_E_ARG;
    return withDevice([&](Device& d) {
        for (const dvsim::Denomination& x : d.state().denoms) {
            if (x.value == value) {
                *count = x.count;
                return static_cast<int>(DVSIM_OK);
            }
        }
        return static_cast<int>(DVSIM_E_NOTFOUND);
    });
}

DVSIM_EXPORT int dvsim_set_thresholds(long value, long low, long high)
{
    return withDevice([&](Device& d) { return d.setThresholds(value, low, high); });
}

DVSIM_EXPORT int dvsim_cash_session(int kind, long amount)
{
    return withDevice([&](Device& d) { return d.cashSession(kind, amount); });
}

DVSIM_EXPORT int dvsim_fault(int code, const char* text)
{
    std::string t = text ? std::string(text, strnlen(text, 64)) : std::string();
    return withDevice([&](Device& d) { return d.fault(code, t); });
}

DVSIM_EXPORT int dvsim_jam(void)
{
    return dvsim_fault(7, "NOTE JAM");
}

DVSIM_EXPORT int dvsim_arm_fault(int trigger, unsigned nth, int code, const char* text)
{
    std::string t = text ? std::string(text, strnlen(text, 64)) : std::string();
    return withDevice([&](Device& d) { return d.armFault(trigger, nth, code, t); });
}

DVSIM_EXPORT int dvsim_clear_fault(void)
{
    return withDevice([&](Device& d) { return d.clearFault(); });
}

DVSIM_EXPORT int dvsim_force_answer(int kind, unsigned count)
{
    return withDevice([&](Device& d) { return d.forceAnswer(kind, count); });
}

DVSIM_EXPORT int dvsim_drop_reports(unsigned count)
{
    return withDevice([&](Device& d) {
        d.dropReports(count);
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_delay_next_report(unsigned ms)
{
    if (ms > 600000)
        return DVSIM_E_ARG;
    return withDevice([&](Device& d) {
        d.delayNextReport(ms);
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_garble_next_report(void)
{
    return withDevice([&](Device& d) {
        d.garbleNextReport();
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_inject_report(const char* text)
{
    if (!text)
        return DVSIM_E_ARG;
    size_t n = strnlen(text, 256);
    if (n == 0 || n > 255)
        return DVSIM_E_ARG;
    std::string t(text, n);
    return withDevice([&](Device& d) { return d.injectReport(t); });
}

DVSIM_EXPORT int dvsim_wait_idle(int timeout_ms)
{
    if (tl_simThread)
        return DVSIM_E_STATE;
    try {
        Runtime& r = rt();
        std::unique_lock<std::mutex> lk(r.mu);
        ensureConfigured(r);
        if (!r.link)
            return DVSIM_OK; // without a link, work completes at once
        unsigned long gen = r.generation;
        auto done = [&] { return r.generation != gen || (r.dev.idle() && r.delivering == 0); };
        if (timeout_ms < 0)
            r.cv.wait(lk, done);
        else if (!r.cv.wait_for(lk, std::chrono::milliseconds(timeout_ms), done))
            return DVSIM_E_TIMEOUT;
        return r.generation != gen ? DVSIM_E_STATE : DVSIM_OK;
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}

DVSIM_EXPORT long dvsim_command_count(void)
{
    return withDevice([](Device& d) { return static_cast<int>(d.commandLog().size()); });
}

DVSIM_EXPORT long dvsim_command_at(size_t index, char* buf, size_t size)
{
    long n = 0;
    int rc = withDevice([&](Device& d) {
        n = copyLogEntry(d.commandLog(), index, buf, size);
        return static_cast<int>(DVSIM_OK);
    });
    return rc != DVSIM_OK ? rc : n;
}

DVSIM_EXPORT long dvsim_report_count(void)
{
    return withDevice([](Device& d) { return static_cast<int>(d.reportLog().size()); });
}

DVSIM_EXPORT long dvsim_report_at(size_t index, char* buf, size_t size)
{
    long n = 0;
    int rc = withDevice([&](Device& d) {
        n = copyLogEntry(d.reportLog(), index, buf, size);
        return static_cast<int>(DVSIM_OK);
    });
    return rc != DVSIM_OK ? rc : n;
}

DVSIM_EXPORT int dvsim_clear_logs(void)
{
    return withDevice([](Device& d) {
        d.clearLogs();
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_set_profile(int profile)
{
    return withDevice([&](Device& d) { return d.setProfile(profile); });
}

DVSIM_EXPORT int dvsim_set_timing(int which, unsigned ms)
{
    return withDevice([&](Device& d) { return d.setTiming(which, ms); });
}

DVSIM_EXPORT int dvsim_get_timing(int which, unsigned* ms)
{
    if (!ms || which < DVSIM_TIMING_ANSWER_LATENCY || which > DVSIM_TIMING_JITTER)
        return DVSIM_E_ARG;
    return withDevice([&](Device& d) {
        *ms = d.state().timing.get(which);
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_set_legacy(int on)
{
    return withDevice([&](Device& d) {
        d.setLegacy(on != 0);
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_seed(unsigned long seed)
{
    return withDevice([&](Device& d) {
        d.seed(seed);
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_clock_manual(int on)
{
    return withDevice([&](Device& d) {
        d.setManualClock(on != 0);
        return static_cast<int>(DVSIM_OK);
    });
}

DVSIM_EXPORT int dvsim_clock_advance(unsigned ms)
{
    return withDevice([&](Device& d) { return d.advance(ms) ? DVSIM_OK : DVSIM_E_STATE; });
}

DVSIM_EXPORT long long dvsim_clock_now(void)
{
    long long now = 0;
    withDevice([&](Device& d) {
        now = d.now();
        return static_cast<int>(DVSIM_OK);
    });
    return now;
}

DVSIM_EXPORT int dvsim_reset_model(void)
{
    return withDevice([](Device& d) {
        d.reset();
        return static_cast<int>(DVSIM_OK);
    });
}

namespace {

int loadConfig(bool fromFile, const char* src, char* err, size_t errSize)
{
    if (!src)
        return DVSIM_E_ARG;
    try {
        dvsim::Config c;
        std::string e;
        bool ioError = false;
        bool ok = fromFile ? dvsim::loadScenarioFile(src, c, e, &ioError) : dvsim::parseScenario(src, c, e);
        if (!ok) {
            copyText(err, errSize, e);
            return ioError ? DVSIM_E_IO : DVSIM_E_PARSE;
        }
        Runtime& r = rt();
        std::lock_guard<std::mutex> lk(r.mu);
        ensureConfigured(r);
        r.dev.configure(c);
        r.configError.clear();
        r.cv.notify_all();
        copyText(err, errSize, std::string());
        return DVSIM_OK;
    } catch (const std::bad_alloc&) {
        return DVSIM_E_NOMEM;
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}

} // namespace

DVSIM_EXPORT int dvsim_load_scenario(const char* path, char* err, size_t err_size)
{
    return loadConfig(true, path, err, err_size);
}

DVSIM_EXPORT int dvsim_load_scenario_text(const char* text, char* err, size_t err_size)
{
    return loadConfig(false, text, err, err_size);
}

DVSIM_EXPORT int dvsim_control(const char* line, char* reply, size_t size)
{
    if (!line)
        return DVSIM_E_ARG;
    try {
        std::string out;
        int rc = dvsim::runControl(std::string(line, strnlen(line, 4096)), out);
        copyText(reply, size, out);
        return rc;
    } catch (const std::bad_alloc&) {
        return DVSIM_E_NOMEM;
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}

DVSIM_EXPORT int dvsim_socket_start(const char* path)
{
    if (!path)
        return DVSIM_E_ARG;
    try {
        std::string err;
        return rt().socket.start(path, err);
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}

DVSIM_EXPORT int dvsim_socket_stop(void)
{
    try {
        rt().socket.stop();
        return DVSIM_OK;
    } catch (...) {
        return DVSIM_E_INTERNAL;
    }
}
