#include "device.h"

#include "change.h"
#include "dvsim.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace dvsim {

namespace {

const char FS = '\x1c';

Ms realMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::vector<std::string> splitFields(const std::string& s)
{
    std::vector<std::string> out(1);
    for (char ch : s) {
        if (ch == FS)
            out.emplace_back();
        else
            out.back() += ch;
    }
    return out;
}

bool digits(const std::string& s, size_t minLen, size_t maxLen)
{
    if (s.size() < minLen || s.size() > maxLen)
        return false;
    for (char ch : s)
        if (ch < '0' || ch > '9')
            return false;
    return true;
}

// An amount field as the library writes it: at least 8 digits, at most the
// largest amount a command may carry.
bool amountField(const std::string& s, long& out)
{
    if (!digits(s, 8, 9))
        return false;
    out = std::strtol(s.c_str(), nullptr, 10);
    return out <= 99999999;
}

std::string answer(char letter, char reason, char code, const std::string& text)
{
    std::string a;
    a += letter;
    a += reason;
    a += code;
    a += ' ';
    a += text;
    if (a.size() > 63)
        a.resize(63);
    return a;
}

std::string padded(std::string s, size_t width)
{
    if (s.size() < width)
        s.append(width - s.size(), ' ');
    return s;
}

Level levelOf(const Denomination& d)
{
    if (d.count == 0)
        return LevelEmpty;
    if (d.low > 0 && d.count <= d.low)
        return LevelLow;
    if (d.high > 0 && d.count >= d.high)
        return LevelHigh;
    return LevelNormal;
}

} // namespace

Device::Device()
{
    configure(defaultConfig());
}

void Device::configure(const Config& c)
{
    m_cfg = c;
    reset();
}

void Device::reset()
{
    DeviceState s;
    s.currency = m_cfg.currency;
    s.decimals = m_cfg.decimals;
    for (const DenomConfig& d : m_cfg.denoms) {
        Denomination x;
        x.value = d.value;
        x.count = d.count;
        x.low = d.low;
        x.high = d.high;
        x.level = levelOf(x);
        s.denoms.push_back(x);
    }
    s.timing = m_cfg.timing;
    s.legacy = m_cfg.legacy;
    for (const ArmedFault& f : m_cfg.faults)
        s.armed.push_back({f.trigger, f.nth, f.code, f.text.empty() ? faultText(f.code) : f.text});
    m_s = std::move(s);
    seed(m_cfg.seed);
    setManualClock(false);
}

// ---------------------------------------------------------------------------
// Clock and link

Ms Device::now() const
{
    return m_manual ? m_manualNow : realMs() + m_offset;
}

void Device::setManualClock(bool on)
{
    if (on && !m_manual) {
        m_manualNow = now();
        m_manual = true;
    } else if (!on && m_manual) {
        m_offset = m_manualNow - realMs(); // time goes on from where it stood
        m_manual = false;
    }
}

bool Device::advance(unsigned ms)
{
    if (!m_manual)
        return false;
    m_manualNow += ms;
    return true;
}

void Device::setLinked(bool on)
{
    m_linked = on;
    settle();
}

void Device::settle()
{
    if (m_linked)
        return;
    runDue(LLONG_MAX);
    m_s.outbox.clear();
}

// ---------------------------------------------------------------------------
// Timeline and reports

void Device::runDue(Ms now)
{
    while (!m_s.timeline.empty() && m_s.timeline.front().due <= now) {
        Step step = std::move(m_s.timeline.front());
        m_s.timeline.pop_front();
        step.run(step.due);
    }
}

void Device::schedule(Ms due, std::function<void(Ms)> fn)
{
    auto it = std::find_if(m_s.timeline.begin(), m_s.timeline.end(),
                           [due](const Step& s) { return s.due > due; });
    m_s.timeline.insert(it, Step{due, std::move(fn)});
}

// Queues a report for at, but never sooner than reportGap after the one
// before it: a poller that waits for one report type at a time must see each
// report before the next replaces it. Returns when the report goes out.
Ms Device::emit(Ms at, const std::string& text)
{
    if (!m_linked)
        return at;
    Ms due = at;
    if (!m_s.outbox.empty() && m_s.outbox.back().due > due)
        due = m_s.outbox.back().due;
    if (m_s.reported && due < m_s.lastReport + m_s.timing.reportGap)
        due = m_s.lastReport + m_s.timing.reportGap;
    m_s.outbox.push_back(Outgoing{due, text});
    m_s.lastReport = due;
    m_s.reported = true;
    return due;
}

bool Device::takeReport(Ms now, std::string& out)
{
    while (!m_s.outbox.empty() && m_s.outbox.front().due <= now) {
        if (m_s.delayNext > 0) {
            m_s.outbox.front().due += m_s.delayNext;
            m_s.delayNext = 0;
            continue;
        }
        Outgoing o = std::move(m_s.outbox.front());
        m_s.outbox.pop_front();
        if (m_s.dropReports > 0) {
            --m_s.dropReports;
            continue;
        }
        if (m_s.garbleNext) {
            m_s.garbleNext = false;
            std::string& t = o.text;
            static const char signs[] = "#?*!";
            char sign = signs[m_rng() % 4];
            if (t.size() >= 11 && (t[0] == 'a' || t[0] == 'b' || t[0] == 'c')) {
                static const size_t spots[] = {1, 9, 10}; // amount head, status, mode
                t[spots[m_rng() % 3]] = sign;
            } else if (!t.empty() && t[0] == 'x') {
                t.resize(std::min<size_t>(t.size(), 10));
            } else if (!t.empty()) {
                t[m_rng() % t.size()] = sign;
            }
        }
        m_reports.push_back(o.text);
        if (m_reports.size() > 10000)
            m_reports.pop_front();
        out = std::move(o.text);
        return true;
    }
    return false;
}

Ms Device::nextWake() const
{
    Ms wake = -1;
    if (!m_s.timeline.empty())
        wake = m_s.timeline.front().due;
    if (!m_s.outbox.empty() && (wake < 0 || m_s.outbox.front().due < wake))
        wake = m_s.outbox.front().due;
    return wake;
}

unsigned Device::jitter()
{
    return m_s.timing.jitter ? static_cast<unsigned>(m_rng() % (m_s.timing.jitter + 1)) : 0;
}

int Device::statusDigit() const
{
    if (m_s.fault)
        return 2;
    if (m_s.working)
        return 1;
    return m_s.sessionOpen ? m_s.payin : 3;
}

std::string Device::report(char type, const std::string& tail) const
{
    return reportWith(type, m_s.paidIn, tail);
}

std::string Device::reportWith(char type, long amount, const std::string& tail) const
{
    char head[32];
    if (amount < 0)
        amount = 0;
    if (amount > 99999999)
        amount = 99999999;
    std::snprintf(head, sizeof head, "%c%08ld%d%d", type, amount, statusDigit(), mode());
    return head + tail;
}

std::string Device::valueText(long value, int decimals, bool high)
{
    long unit = 1;
    for (int i = 0; i < decimals; ++i)
        unit *= 10;
    char buf[32];
    if (decimals > 0 && value < unit) {
        std::string frac = std::to_string(value);
        return "0," + std::string(static_cast<size_t>(decimals) - frac.size(), '0') + frac;
    }
    if (high)
        std::snprintf(buf, sizeof buf, "%03ld", value / unit);
    else
        std::snprintf(buf, sizeof buf, "%ld", value / unit);
    return buf;
}

std::string Device::levelTail(const Denomination& d, Level level) const
{
    std::string value = valueText(d.value, m_s.decimals, level == LevelHigh);
    if (level == LevelHigh)
        return padded(value + " " + m_s.currency, 16);
    char count[24];
    std::snprintf(count, sizeof count, "%02ld", level == LevelEmpty ? 0L : std::min(d.count, 99L));
    return padded(std::string(count) + " " + value + " " + m_s.currency, 16);
}

std::string Device::errorTail(int code, const std::string& text)
{
    std::string t = text.substr(0, 14);
    for (char& ch : t)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    char num[8];
    std::snprintf(num, sizeof num, "%02d", code % 100);
    return padded(t, 14) + num;
}

Denomination* Device::find(long value)
{
    for (Denomination& d : m_s.denoms)
        if (d.value == value)
            return &d;
    return nullptr;
}

std::vector<std::string> Device::levelChanges()
{
    std::vector<std::string> tails;
    for (Denomination& d : m_s.denoms) {
        Level l = levelOf(d);
        if (l != d.level) {
            d.level = l;
            if (l != LevelNormal)
                tails.push_back(levelTail(d, l));
        }
    }
    return tails;
}

void Device::recomputeLevels()
{
    for (Denomination& d : m_s.denoms)
        d.level = levelOf(d);
}

ChangePlan Device::plan(long amount, long maxValue) const
{
    std::vector<long> values, counts;
    for (const Denomination& d : m_s.denoms) {
        values.push_back(d.value);
        counts.push_back(d.count);
    }
    return makeChange(amount, values, counts, maxValue);
}

// Change for what was paid in: smaller denominations than the largest note
// or coin inserted, so that a note is really changed; if they cannot make
// it, any denominations (the inserted cash itself is in the inventory).
ChangePlan Device::changePlan() const
{
    long largest = 0;
    for (long v : m_s.inserted)
        largest = std::max(largest, v);
    ChangePlan p = plan(m_s.paidIn, largest);
    if (p.rest > 0)
        p = plan(m_s.paidIn);
    return p;
}

void Device::takeOut(const ChangePlan& p)
{
    for (size_t i = 0; i < p.take.size() && i < m_s.denoms.size(); ++i)
        m_s.denoms[i].count = std::max(0L, m_s.denoms[i].count - p.take[i]);
}

void Device::takeOut(long value)
{
    Denomination* d = find(value);
    if (d && d->count > 0)
        --d->count;
}

// ---------------------------------------------------------------------------
// Faults

bool Device::fire(int trigger, DeviceState::Armed& fired)
{
    for (DeviceState::Armed& a : m_s.armed)
        if (a.trigger == trigger && a.left > 0)
            --a.left;
    for (auto it = m_s.armed.begin(); it != m_s.armed.end(); ++it) {
        if (it->trigger == trigger && it->left == 0) {
            fired = *it;
            m_s.armed.erase(it);
            return true;
        }
    }
    return false;
}

void Device::enterFault(Ms at, int code, const std::string& text)
{
    m_s.timeline.clear(); // work in progress is abandoned
    m_s.waitingNotes.clear();
    m_s.working = false;
    m_s.counting = false;
    m_s.fault = true;
    m_s.faultCode = code;
    m_s.faultText = text;
    emit(at, report('b', errorTail(code, text)));
}

int Device::fault(int code, const std::string& text)
{
    if (code < 1 || code > 99 || text.size() > 14)
        return DVSIM_E_ARG;
    Ms now = this->now();
    runDue(now);
    enterFault(now + m_s.timing.reportLatency, code, text.empty() ? faultText(code) : text);
    settle();
    return DVSIM_OK;
}

int Device::clearFault()
{
    runDue(now());
    if (!m_s.fault)
        return DVSIM_E_STATE;
    m_s.fault = false;
    m_s.faultCode = 0;
    m_s.faultText.clear();
    emit(now() + m_s.timing.reportLatency, report('a'));
    settle();
    return DVSIM_OK;
}

int Device::armFault(int trigger, unsigned nth, int code, const std::string& text)
{
    if (trigger < DVSIM_AT_INSERT || trigger > DVSIM_AT_COMMAND || nth < 1 || code < 1 || code > 99 ||
        text.size() > 14 || m_s.armed.size() >= 8)
        return DVSIM_E_ARG;
    m_s.armed.push_back({trigger, nth, code, text.empty() ? faultText(code) : text});
    return DVSIM_OK;
}

// ---------------------------------------------------------------------------
// Cash in

int Device::insert(long value)
{
    if (value <= 0)
        return DVSIM_E_ARG;
    Ms now = this->now();
    runDue(now);
    if (!m_s.sessionOpen || m_s.fault || m_s.payin != 0)
        return DVSIM_E_STATE;
    if (m_s.working && !m_s.counting)
        return DVSIM_E_BUSY;
    if (!find(value))
        return DVSIM_E_NOTFOUND;
    DeviceState::Armed jam{};
    DeviceState::Note note{value, fire(DVSIM_AT_INSERT, jam), jam.code, jam.text};
    if (m_s.counting)
        m_s.waitingNotes.push_back(note); // one note at a time: it waits its turn
    else
        startCounting(now + m_s.timing.reportLatency, note);
    settle();
    return DVSIM_OK;
}

void Device::startCounting(Ms at, const DeviceState::Note& note)
{
    m_s.working = true;
    m_s.counting = true;
    Ms start = emit(at, report('a')); // counting is seen from this report on
    Ms finish = start + m_s.timing.count + jitter();
    schedule(finish, [this, note](Ms t) { finishCounting(t, note); });
}

void Device::finishCounting(Ms at, const DeviceState::Note& note)
{
    if (note.jams) {
        enterFault(at, note.code, note.text); // the note is stuck, not credited
        return;
    }
    Denomination* d = find(note.value);
    if (d && d->count < 99999)
        ++d->count;
    Ms t = at;
    for (const std::string& tail : levelChanges())
        t = emit(t, report('b', tail));
    m_s.paidIn += note.value;
    m_s.inserted.push_back(note.value);
    m_s.working = false;
    m_s.counting = false;
    t = emit(t, report('a'));
    if (!m_s.waitingNotes.empty()) {
        DeviceState::Note next = m_s.waitingNotes.front();
        m_s.waitingNotes.pop_front();
        startCounting(t, next);
    }
}

// ---------------------------------------------------------------------------
// Cash out

std::string Device::startCashOut(Ms at, CashOut kind, long amount, char letter, const char* what)
{
    bool nothing = (kind == Change && m_s.paidIn == 0) ||
                   ((kind == RegretLast || kind == RegretAll) && m_s.inserted.empty());
    if (nothing) {
        emit(at, report('a')); // nothing to give back: the device just reports its state
        return answer(letter, '0', '0', std::string(what) + ", nothing to pay out");
    }
    DeviceState::Armed f{};
    bool fails = fire(DVSIM_AT_PAYOUT, f);
    long items = 0;
    switch (kind) {
    case Payout:
    case Dispense: items = plan(amount).items; break;
    case Change: items = changePlan().items; break;
    case RegretLast: items = 1; break;
    case RegretAll:
    case RegretAllPayout: items = static_cast<long>(m_s.inserted.size()); break;
    case Deposit: items = 0; break;
    }
    m_s.working = true;
    m_s.counting = false;
    at = emit(at, report('a')); // working is seen from this report on
    Ms duration = std::max<Ms>(m_s.timing.workingMin, static_cast<Ms>(items) * m_s.timing.payoutItem) + jitter();
    Ms end = at + duration;
    schedule(end, [this, kind, amount, fails, f](Ms t) { finishCashOut(t, kind, amount, fails, f.code, f.text); });
    return answer(letter, '0', '0', what);
}

void Device::finishCashOut(Ms at, CashOut kind, long amount, bool fails, int code, const std::string& text)
{
    if (fails) {
        enterFault(at, code, text); // nothing was paid
        return;
    }
    long rest = 0;
    long paidAfter = m_s.paidIn;
    switch (kind) {
    case Payout:
    case Dispense: {
        ChangePlan p = plan(amount);
        takeOut(p);
        rest = p.rest;
        break;
    }
    case Change: {
        ChangePlan p = changePlan();
        takeOut(p);
        rest = p.rest;
        break;
    }
    case RegretLast:
        takeOut(m_s.inserted.back());
        paidAfter = std::max(0L, m_s.paidIn - m_s.inserted.back());
        break;
    case RegretAll:
    case RegretAllPayout:
        for (long v : m_s.inserted)
            takeOut(v);
        break;
    case Deposit: break;
    }
    Ms t = at;
    if (rest > 0)
        t = emit(t, reportWith('c', rest)); // what could not be paid
    for (const std::string& tail : levelChanges())
        t = emit(t, report('b', tail));
    m_s.working = false;
    if (kind == RegretLast) {
        m_s.inserted.pop_back();
        m_s.paidIn = paidAfter;
    } else if (kind != Dispense) {
        m_s.paidIn = 0; // the transaction is over
        m_s.inserted.clear();
    }
    emit(t, report('a'));
}

std::string Device::askPayout(Ms at, long amount)
{
    ChangePlan p = plan(amount);
    Ms t = emit(at, reportWith('c', p.rest));
    if (p.rest > 0) {
        // Name the smallest denomination the rest would need, with what the
        // payout would leave of it.
        size_t idx = m_s.denoms.size() - 1;
        for (size_t i = 0; i < m_s.denoms.size(); ++i)
            if (m_s.denoms[i].value <= p.rest)
                idx = i;
        Denomination left = m_s.denoms[idx];
        left.count -= p.take[idx];
        t = emit(t, report('b', levelTail(left, left.count <= 0 ? LevelEmpty : LevelLow)));
        emit(t, report('a'));
    }
    return answer('d', '0', '0', p.rest > 0 ? "ask payout, rest " + std::to_string(p.rest) : "ask payout, possible");
}

// ---------------------------------------------------------------------------
// Commands

void Device::logCommand(const std::string& text)
{
    m_commands.push_back(text);
    if (m_commands.size() > 10000)
        m_commands.pop_front();
}

void Device::clearLogs()
{
    m_commands.clear();
    m_reports.clear();
}

std::string Device::command(const std::string& req)
{
    Ms now = this->now();
    runDue(now);
    logCommand(req);
    char letter = (!req.empty() && req[0] > 0x20 && req[0] < 0x7f) ? req[0] : '?';

    if (m_s.forcedCount > 0) { // the line loses the command
        int kind = m_s.forcedAnswer;
        if (--m_s.forcedCount == 0)
            m_s.forcedAnswer = 0;
        switch (kind) {
        case DVSIM_ANSWER_BUSY: return answer(letter, 'X', '1', "forced busy");
        case DVSIM_ANSWER_ERROR: return answer(letter, 'X', '2', "forced error");
        case DVSIM_ANSWER_CLOSED: return answer(letter, 'X', '3', "forced closed");
        case DVSIM_ANSWER_GARBAGE: return answer(letter, 'X', '9', "forced garbage");
        default: return std::string();
        }
    }

    Ms t0 = now + m_s.timing.answerLatency + m_s.timing.reportLatency;
    DeviceState::Armed f{};
    if (fire(DVSIM_AT_COMMAND, f)) {
        enterFault(t0, f.code, f.text);
        settle();
        return answer(letter, 'F', '2', "fault " + std::to_string(f.code));
    }
    if (req.empty())
        return answer('?', 'M', '2', "empty command");

    std::vector<std::string> fl = splitFields(req);
    const size_t n = fl.size();
    bool known = fl[0].size() == 1 && std::string("abcdefghx").find(letter) != std::string::npos;
    if (!known)
        return answer(letter, fl[0].size() == 1 ? 'U' : 'M', '2',
                      fl[0].size() == 1 ? "unknown command" : "malformed command");
    long a1 = 0, a2 = 0;
    bool ok = false;
    switch (letter) {
    case 'a':
        ok = n == 4 && digits(fl[1], 2, 2) && digits(fl[2], 2, 2) && digits(fl[3], 4, 4) &&
             std::atoi(fl[3].substr(0, 2).c_str()) < 24 && std::atoi(fl[3].substr(2).c_str()) < 60;
        break;
    case 'b':
    case 'g':
    case 'h': ok = n == 1; break;
    case 'c': ok = (n == 2 || n == 3) && amountField(fl[1], a1) && (n == 2 || fl[2].size() <= 64); break;
    case 'd': ok = n == 2 && digits(fl[1], 8, 8) && amountField(fl[1], a1); break;
    case 'e': ok = n == 2 && fl[1].size() == 1 && fl[1][0] >= '1' && fl[1][0] <= '4'; break;
    case 'f':
        ok = (n == 3 || n == 4) && amountField(fl[1], a1) && amountField(fl[2], a2) && (n == 3 || fl[3].size() <= 64);
        break;
    case 'x': ok = n <= 2 && (n == 1 || fl[1].size() <= 64); break;
    }
    if (!ok)
        return answer(letter, 'M', '2', "malformed command");

    bool isReset = letter == 'e' && fl[1] == "3";
    if (m_s.fault && !isReset)
        return answer(letter, 'F', '2', "fault " + std::to_string(m_s.faultCode) + " " + m_s.faultText);
    if (m_s.working)
        return answer(letter, 'B', '1', "busy");
    bool needsSession = std::string("cdefgh").find(letter) != std::string::npos && !isReset;
    if (needsSession && !m_s.sessionOpen)
        return answer(letter, 'C', '3', "session closed");

    std::string result;
    switch (letter) {
    case 'a':
        m_s.cashRegister = std::atoi(fl[1].c_str());
        m_s.cashier = std::atoi(fl[2].c_str());
        m_s.sessionOpen = true;
        m_s.payin = m_cfg.payinAtLogin ? 0 : 3;
        emit(t0, report('a'));
        result = answer('a', '0', '0', "login");
        break;
    case 'b':
        m_s.sessionOpen = false;
        m_s.payin = 3;
        m_s.paidIn = 0; // cash paid in stays in the device; the transaction ends
        m_s.inserted.clear();
        emit(t0, report('a'));
        result = answer('b', '0', '0', "logout");
        break;
    case 'h':
        m_s.payin = 0;
        emit(t0, report('a'));
        result = answer('h', '0', '0', "pay-in enabled");
        break;
    case 'g':
        m_s.payin = 3;
        emit(t0, report('a'));
        result = answer('g', '0', '0', "pay-in disabled");
        break;
    case 'x':
        if (!m_s.legacy)
            emit(t0, "x" + padded(m_cfg.serial, 17) + m_cfg.version + m_cfg.commands);
        result = answer('x', '0', '0', m_s.legacy ? "ignored" : "capability query");
        break;
    case 'd': result = askPayout(t0, a1); break;
    case 'c': result = startCashOut(t0, Dispense, a1, 'c', "dispense"); break;
    case 'f':
        if (a1 == 0 && a2 == 0 && n == 4 && fl[3] == "regretAll")
            result = startCashOut(t0, RegretAllPayout, 0, 'f', "regret all");
        else if (a2 > m_s.paidIn)
            result = answer('f', 'S', '2', "deposit exceeds paid in");
        else if (a1 == 0)
            result = startCashOut(t0, Deposit, 0, 'f', "deposit");
        else
            result = startCashOut(t0, Payout, a1, 'f', "payout");
        break;
    case 'e':
        switch (fl[1][0]) {
        case '1': result = startCashOut(t0, Change, 0, 'e', "change"); break;
        case '2': result = startCashOut(t0, RegretLast, 0, 'e', "regret last"); break;
        case '4': result = startCashOut(t0, RegretAll, 0, 'e', "regret all"); break;
        default:
            m_s.fault = false;
            m_s.faultCode = 0;
            m_s.faultText.clear();
            emit(t0, report('a'));
            result = answer('e', '0', '0', "reset");
            break;
        }
        break;
    }
    settle();
    return result;
}

// ---------------------------------------------------------------------------
// Other control

int Device::cashSession(int kind, long amount)
{
    static const char* const words[] = {"BO/WD", "BO/RF", "CR/WD", "CR/RF"};
    if (kind < DVSIM_SESSION_BO_WD || kind > DVSIM_SESSION_INFO || amount < 0 || amount > 99999999)
        return DVSIM_E_ARG;
    std::string tail;
    if (kind == DVSIM_SESSION_INFO) {
        tail = padded("Dravik SIM " + m_cfg.version, 16);
    } else {
        char num[16];
        std::snprintf(num, sizeof num, "%08ld", amount);
        tail = std::string(words[kind]) + num;
    }
    Ms now = this->now();
    runDue(now);
    emit(now + m_s.timing.reportLatency, report('b', tail));
    settle();
    return DVSIM_OK;
}

int Device::injectReport(const std::string& text)
{
    if (text.empty() || text.size() > 255)
        return DVSIM_E_ARG;
    if (!m_linked)
        return DVSIM_E_STATE;
    // Raw reports queue behind the device's own but keep no gap of their own.
    Ms due = now();
    if (!m_s.outbox.empty() && m_s.outbox.back().due > due)
        due = m_s.outbox.back().due;
    m_s.outbox.push_back(Outgoing{due, text});
    return DVSIM_OK;
}

int Device::forceAnswer(int kind, unsigned count)
{
    if (kind < DVSIM_ANSWER_NORMAL || kind > DVSIM_ANSWER_EMPTY || (kind != DVSIM_ANSWER_NORMAL && count == 0))
        return DVSIM_E_ARG;
    m_s.forcedAnswer = kind;
    m_s.forcedCount = kind == DVSIM_ANSWER_NORMAL ? 0 : count;
    return DVSIM_OK;
}

int Device::setInventory(std::string currency, int decimals, std::vector<DenomConfig> denoms)
{
    std::string bad = normaliseInventory(currency, decimals, denoms);
    if (!bad.empty())
        return DVSIM_E_ARG;
    m_s.currency = currency;
    m_s.decimals = decimals;
    m_s.denoms.clear();
    for (const DenomConfig& d : denoms) {
        Denomination x;
        x.value = d.value;
        x.count = d.count;
        x.low = d.low;
        x.high = d.high;
        m_s.denoms.push_back(x);
    }
    recomputeLevels();
    return DVSIM_OK;
}

int Device::setCount(long value, long count)
{
    Denomination* d = find(value);
    if (!d)
        return DVSIM_E_NOTFOUND;
    if (count < 0 || count > 99999)
        return DVSIM_E_ARG;
    d->count = count;
    d->level = levelOf(*d);
    return DVSIM_OK;
}

int Device::setThresholds(long value, long low, long high)
{
    Denomination* d = find(value);
    if (!d)
        return DVSIM_E_NOTFOUND;
    if (low < 0 || low > 99 || high < 0 || (high > 0 && high <= low))
        return DVSIM_E_ARG;
    d->low = low;
    d->high = high;
    d->level = levelOf(*d);
    return DVSIM_OK;
}

int Device::setProfile(int profile)
{
    if (profile != ProfileFast && profile != ProfileRealistic)
        return DVSIM_E_ARG;
    m_s.timing = profileTiming(profile);
    return DVSIM_OK;
}

int Device::setTiming(int which, unsigned ms)
{
    return m_s.timing.set(which, ms) ? DVSIM_OK : DVSIM_E_ARG;
}

} // namespace dvsim
