// The demo: one cash sale and one refund, as a till does them, with the
// simulator playing the customer.
#include "programs.h"

#include "events.h"
#include "interpreter.h"
#include "output.h"
#include "words.h"

#include "dvlogics.h"

#include <cstdlib>
#include <functional>
#include <vector>

namespace dvcli {

namespace {

class Demo {
public:
    Demo(const Device& device, const std::string& port) : m_sim(device.sim()), m_device(device), m_port(port) {}
    int run();

private:
    // One library call. Returns whether it answered `expected`.
    bool step(const std::string& call, const std::function<short(char*)>& function, short expected = 0);
    // The customer puts one note or coin in.
    bool insert(long value);
    // Waits until the device has finished and every report is delivered.
    bool settle();
    void section(const std::string& title) const;
    bool fail(const std::string& why);
    // The largest amount paid in that status events reported from `from` on.
    long long paidInSince(size_t from) const;
    void summary(const dvsim_inventory& before, const dvsim_inventory& after, long long paidIn,
                 long long refunded) const;

    const SimApi& m_sim;
    const Device& m_device;
    std::string m_port;
    Output& m_out = Output::instance();
    int m_steps = 0;
    std::vector<std::string> m_failures;
    bool m_initiated = false;
};

std::string statusText(short status)
{
    return std::to_string(status) + " " + statusName(status);
}

long long inventoryValue(const dvsim_inventory& inventory)
{
    long long total = 0;
    for (size_t i = 0; i < inventory.count && i < DVSIM_MAX_DENOMINATIONS; ++i)
        total += static_cast<long long>(inventory.denominations[i].value) * inventory.denominations[i].count;
    return total;
}

std::string rightAligned(const std::string& text, size_t width)
{
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

std::string trimmed(std::string text)
{
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

std::string signedMoney(long long amount, int decimals)
{
    return (amount > 0 ? "+" : "") + money(amount, decimals);
}

} // namespace

bool Demo::step(const std::string& call, const std::function<short(char*)>& function, short expected)
{
    ++m_steps;
    char message[DV_MESSAGE_SIZE + 1] = "";
    m_out.beginCall(call);
    const short status = function(message);
    message[DV_MESSAGE_SIZE] = '\0';
    const bool good = status == expected;
    m_out.endCall(statusText(status), good ? Tone::Good : Tone::Bad, message);
    if (!good)
        return fail(call + " answered " + statusText(status) + " " + quoted(message) + ", expected " +
                    statusText(expected));
    return true;
}

bool Demo::insert(long value)
{
    ++m_steps;
    m_out.beginCall("sim insert " + std::to_string(value));
    const int rc = m_sim.insert(value);
    const std::string note = "the customer inserts " + money(value);
    m_out.endCall(rc == 0 ? "0 ok" : std::to_string(rc) + " error", rc == 0 ? Tone::Good : Tone::Bad,
                  rc == 0 ? note : note + ": " + m_sim.resultText(rc));
    if (rc != 0)
        return fail("inserting " + money(value) + " failed: " + m_sim.resultText(rc));
    return true;
}

bool Demo::settle()
{
    const int rc = m_sim.waitIdle(30000);
    if (rc != 0)
        return fail(std::string("the device did not become idle: ") + m_sim.resultText(rc));
    return true;
}

void Demo::section(const std::string& title) const
{
    m_out.line("");
    m_out.line(title, Tone::Heading);
}

bool Demo::fail(const std::string& why)
{
    m_failures.push_back(why);
    m_out.line("  ! " + why, Tone::Bad);
    return false;
}

long long Demo::paidInSince(size_t from) const
{
    const EventLog& log = EventLog::instance();
    long long most = 0;
    for (size_t i = from; i < log.size(); ++i) {
        const Event e = log.at(i);
        if (e.kind == EventKind::Status && !e.numbers.empty() && e.numbers[0] > most)
            most = e.numbers[0];
    }
    return most;
}

int Demo::run()
{
    const long long sale = 1250;
    const long sale1Cash[] = {1000, 500, 200, 200, 100}; // 20.00
    const long sale2Cash[] = {500, 200};                 // 7.00
    const long long change = 2000 - sale;

    m_out.line("dvcli demo: a cash sale against the device simulator", Tone::Heading);
    m_out.line("  device     " + m_device.path());
    m_out.line("  logs       " + logDirectory());
    m_out.line("  columns    call, status code and name, message; [event] lines come from the device thread");

    section("Set-up");
    std::string portText = m_port;
    std::string settings = "PayOutOkCheck:1;RegretOkCheck:1";
    bool ok = step("registerEvents23DV(status, error, level, warning, session)", [](char* msg) {
        return registerEvents23DV(callbacks::status, callbacks::error, callbacks::level, callbacks::warning,
                                  callbacks::session, msg);
    });
    ok = ok && step("initDV(" + quoted(portText) + ", " + quoted(settings) + ")", [&](char* msg) {
        return initDV(&portText[0], &settings[0], msg);
    });
    m_initiated = ok;
    dvsim_inventory before = {};
    if (ok) {
        // A nearly empty 0.50 coin tube, so that paying the change shows the
        // cash-level events.
        ++m_steps;
        m_out.beginCall("sim count 50 6");
        const int rc = m_sim.setCount(50, 6);
        m_out.endCall(rc == 0 ? "0 ok" : std::to_string(rc) + " error", rc == 0 ? Tone::Good : Tone::Bad,
                      "six 0.50 coins left (low level at 5)");
        ok = rc == 0 || fail("setting the 0.50 coins failed");
        ok = ok && m_sim.getInventory(&before) == 0;
    }
    ok = ok && step("loginDV(1, 7)", [](char* msg) { return loginDV(1, 7, msg); }) && settle();
    ok = ok && step("enablePayinDV()", [](char* msg) { return enablePayinDV(msg); }) && settle();

    long long paidIn = 0;
    if (ok) {
        section("Sale T-1001: " + money(sale) + ", the customer pays " + money(sale + change));
        const size_t mark = EventLog::instance().size();
        for (long value : sale1Cash)
            ok = ok && insert(value) && settle();
        paidIn = paidInSince(mark);
        if (ok && paidIn != sale + change)
            ok = fail("the status events reported " + money(paidIn) + " paid in, not " + money(sale + change));
        ok = ok && step("payoutDV(" + std::to_string(change) + ", " + std::to_string(sale) + ", \"T-1001\")",
                        [&](char* msg) {
                            char id[] = "T-1001";
                            return payoutDV(static_cast<int>(change), static_cast<int>(sale), id, msg);
                        }) &&
             settle();
    }

    long long refunded = 0;
    if (ok) {
        section("Customer 2 pays 7.00, then changes their mind");
        const size_t mark = EventLog::instance().size();
        for (long value : sale2Cash)
            ok = ok && insert(value) && settle();
        refunded = paidInSince(mark);
        ok = ok && step("regretDV(1)", [](char* msg) { return regretDV(1, msg); }) && settle();
    }

    if (m_initiated) {
        section("Closing");
        if (ok) {
            ok = step("disablePayinDV()", [](char* msg) { return disablePayinDV(msg); }) && settle();
            ok = ok && step("logoutDV()", [](char* msg) { return logoutDV(msg); }) && settle();
        }
        // exitDV comes last whatever happened before.
        const bool closed = step("exitDV()", [](char* msg) { return exitDV(msg); });
        ok = ok && closed;
    }

    dvsim_inventory after = {};
    m_sim.getInventory(&after);
    if (ok && before.count > 0)
        summary(before, after, paidIn, refunded);
    if (ok && before.count > 0 && inventoryValue(after) - inventoryValue(before) != sale)
        fail("the device's cash grew by " + money(inventoryValue(after) - inventoryValue(before)) + ", not by " +
             money(sale));

    m_out.line("");
    if (m_failures.empty()) {
        m_out.line("  result         all " + std::to_string(m_steps) + " steps answered as expected", Tone::Good);
        return 0;
    }
    m_out.line("  result         " + std::to_string(m_failures.size()) + " step(s) did not answer as expected:",
               Tone::Bad);
    for (const std::string& why : m_failures)
        m_out.line("                 " + why, Tone::Bad);
    return 1;
}

void Demo::summary(const dvsim_inventory& before, const dvsim_inventory& after, long long paidIn,
                   long long refunded) const
{
    const int d = before.decimals;
    const long long sale = 1250;
    section("Summary");
    m_out.line("  sale amount    " + rightAligned(money(sale, d), 8) + " " + before.currency);
    m_out.line("  paid in        " + rightAligned(money(paidIn, d), 8) + " " + before.currency);
    m_out.line("  change given   " + rightAligned(money(paidIn - sale, d), 8) + " " + before.currency);
    m_out.line("  refunded       " + rightAligned(money(refunded, d), 8) + " " + before.currency +
               "   (customer 2, regret all)");
    m_out.line("");
    m_out.line("  inventory      " + rightAligned("before", 8) + rightAligned("after", 8) + rightAligned("change", 9));
    for (size_t i = 0; i < before.count && i < DVSIM_MAX_DENOMINATIONS; ++i) {
        const dvsim_denomination& b = before.denominations[i];
        long long countAfter = 0;
        for (size_t k = 0; k < after.count && k < DVSIM_MAX_DENOMINATIONS; ++k)
            if (after.denominations[k].value == b.value)
                countAfter = after.denominations[k].count;
        const long long diff = countAfter - b.count;
        m_out.line(trimmed("  " + rightAligned(money(b.value, d), 11) + "    " +
                           rightAligned(std::to_string(b.count), 8) + rightAligned(std::to_string(countAfter), 8) +
                           rightAligned(diff == 0 ? std::string() : (diff > 0 ? "+" : "") + std::to_string(diff), 9)));
    }
    const long long valueBefore = inventoryValue(before), valueAfter = inventoryValue(after);
    m_out.line("  " + rightAligned("value", 11) + "    " + rightAligned(money(valueBefore, d), 8) +
               rightAligned(money(valueAfter, d), 8) + rightAligned(signedMoney(valueAfter - valueBefore, d), 9));
}

int runDemo(const Device& device, const std::string& portSettings)
{
    if (!device.simulator()) {
        Output::instance().errorLine("dvcli demo: the demo needs the simulator, which plays the customer "
                                     "(run it without --device system)");
        return 2;
    }
    return Demo(device, portSettings).run();
}

std::string logDirectory()
{
    if (const char* dir = std::getenv("DVLOGS"))
        return dir;
    if (const char* dir = std::getenv("LOGFILE"))
        return dir;
    if (const char* home = std::getenv("HOME"))
        return std::string(home) + "/temp";
    return "temp";
}

} // namespace dvcli
