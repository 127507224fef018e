// The bad-input matrix: every exported function, described once by a row of
// its parameters, is called with each pointer argument null in turn, with
// hostile texts in each text argument, and with boundary values in each
// number argument. A new function is covered by adding its row.
//
// Texts the library gets are exact-size heap copies, and the buffers it
// writes (message, infoDV outputs) are exactly as large as the header says,
// so that AddressSanitizer sees any read or write past them.
#include "reliability.h"

#include <climits>
#include <cstring>
#include <functional>
#include <ostream>
#include <set>

using namespace dvtest;

namespace {

// What a call must give. A null text means the message is not looked at
// (it is null itself). `wire`, when set, starts the last command sent.
struct Expect {
    short status;
    const char* text;
    const char* wire = nullptr;
};

enum class Kind { Message, Text, OutInt, OutText, Status, Error, Level, Warning, Session, Amount, Number };

bool isPointer(Kind k)
{
    return k != Kind::Amount && k != Kind::Number;
}

const std::vector<long> kAmounts = {-1, 0, 99999999, 100000000, INT_MAX, INT_MIN};
const std::vector<long> kNumbers = {-1, 0, 1, 2, 99, 100, SHRT_MAX, SHRT_MIN};

struct Param {
    Kind kind = Kind::Message;
    const char* name = "";
    bool required = true;  // pointers: null is refused (else: treated as empty)
    Expect whenNull{4, nullptr};
    std::string defaultText;
    long defaultNumber = 0;
    std::string pattern = "{}";          // texts: where a hostile text goes
    const Expect* whenLong = nullptr;    // texts: the 10,000-character text
    bool onWire = false;                 // texts: sent to the device as they are
    std::vector<Expect> perValue;        // numbers: one per value of kAmounts or kNumbers
};

Param param(Kind kind, const char* name)
{
    Param p;
    p.kind = kind;
    p.name = name;
    return p;
}

Param message()
{
    return param(Kind::Message, "message");
}

Param pointer(Kind kind, const char* name, Expect whenNull)
{
    Param p = param(kind, name);
    p.whenNull = whenNull;
    return p;
}

Param text(const char* name, const std::string& value, bool required, const std::string& pattern = "{}")
{
    Param p = param(Kind::Text, name);
    p.required = required;
    p.defaultText = value;
    p.pattern = pattern;
    return p;
}

Param number(Kind kind, const char* name, long value, std::vector<Expect> perValue)
{
    Param p = param(kind, name);
    p.defaultNumber = value;
    p.perValue = std::move(perValue);
    return p;
}

// The argument values of one call; pointer arguments may be made null.
class Args {
public:
    Args()
        : m_message(DV_MESSAGE_SIZE),
          m_outText{ExactBuffer(DV_INFO_COMMANDS_SIZE), ExactBuffer(DV_INFO_MASTER_SIZE),
                    ExactBuffer(DV_INFO_INFO_SIZE)}
    {
    }

    char* msg() { return m_null.count("message") ? nullptr : m_message.get(); }
    ExactBuffer& messageBuffer() { return m_message; }
    char* text(int i) { return m_textNull[i] ? nullptr : m_texts[i].get(); }
    long num(int i) const { return m_numbers[i]; }
    int* outInt() { return m_outIntNull ? nullptr : &m_outInt; }
    int outIntValue() const { return m_outInt; }
    char* outText(int i) { return m_outTextNull[i] ? nullptr : m_outText[i].get(); }
    CStatusBackFunc status() { return m_null.count("status") ? nullptr : &Recorder::status; }
    CErrorBackFunc error() { return m_null.count("error") ? nullptr : &Recorder::error; }
    CCashLevelBackFunc level() { return m_null.count("level") ? nullptr : &Recorder::level; }
    CLevelWarningBackFunc warning() { return m_null.count("warning") ? nullptr : &Recorder::warning; }
    CCashSessionBackFunc session() { return m_null.count("session") ? nullptr : &Recorder::session; }

    void setText(int i, const std::string& value)
    {
        m_texts[i].reset(new char[value.size() + 1]);
        memcpy(m_texts[i].get(), value.c_str(), value.size() + 1);
        m_textNull[i] = false;
    }
    void setNumber(int i, long value) { m_numbers[i] = value; }
    // Makes the pointer argument of this kind (the n-th of its kind) null.
    void makeNull(Kind kind, int n)
    {
        switch (kind) {
        case Kind::Message: m_null.insert("message"); break;
        case Kind::Text: m_textNull[n] = true; break;
        case Kind::OutInt: m_outIntNull = true; break;
        case Kind::OutText: m_outTextNull[n] = true; break;
        case Kind::Status: m_null.insert("status"); break;
        case Kind::Error: m_null.insert("error"); break;
        case Kind::Level: m_null.insert("level"); break;
        case Kind::Warning: m_null.insert("warning"); break;
        case Kind::Session: m_null.insert("session"); break;
        default: break;
        }
    }

private:
    ExactBuffer m_message;
    std::unique_ptr<char[]> m_texts[2];
    bool m_textNull[2] = {true, true};
    long m_numbers[2] = {0, 0};
    int m_outInt = -1;
    bool m_outIntNull = false;
    ExactBuffer m_outText[3];
    bool m_outTextNull[3] = {false, false, false};
    std::set<std::string> m_null;
};

// Where a row's calls are made.
enum class State {
    NotInitiated,  // callbacks registered, no initDV
    LoggedIn,      // initDV and loginDV: pay-in enabled, nothing paid in
    PayinDisabled, // logged in, pay-in disabled (or cash deposited)
    PaidIn,        // logged in, pay-in enabled, 1000 paid in
};

struct Row {
    const char* name;
    State state;
    std::vector<Param> params;
    Expect valid; // with the default arguments, in that state
    std::function<short(const DvApi&, Args&)> call;
};

void PrintTo(const Row& row, std::ostream* os)
{
    *os << row.name;
}

std::string rowName(const ::testing::TestParamInfo<Row>& param)
{
    return param.param.name;
}

const Expect kSendRefused{2, "Error"}; // the simulator refuses an identifier over 64 characters
const Expect kDone{0, "Done"};
const Expect kRest{8, "Not possible (rest)"};
const Expect kDispenseSmall{4, "Amount to dispense too small"};
const Expect kDispenseBig{4, "Amount to dispense too big"};
const Expect kDepositSmall{4, "Amount to deposit too small"};
const Expect kDepositBig{10, "Amount to deposit too big"};
const Expect kDueTooBig{4, "Paid in amount smaller than amount due"};
const Expect kDuration{4, "unknown durationType"};
const Expect kRegret{4, "Invalid regretType"};

Param transactId()
{
    Param p = text("transactId", "T1", false);
    p.whenLong = &kSendRefused;
    p.onWire = true;
    return p;
}

Param requiredRest()
{
    return pointer(Kind::OutInt, "amountRest", {4, "amountRest parameter is null"});
}

Param callback(Kind kind, const char* name)
{
    return pointer(kind, name, {4, "empty callbacks"});
}

std::vector<Row> allRows()
{
    Param port = text("portSettings", "Type:RS232;Name:sim", true, "Type:RS232;Name:{}");
    port.whenNull = {4, "portSettings is empty"};
    Param initText = text("initSettings", "LogDebug:1", false, "LevelWarningFilter:{}");
    Param settings = text("initSettings", "AutoDisable:0", true);
    settings.whenNull = {4, "initSettings is empty"};
    const Param open = pointer(Kind::OutInt, "open", {4, "open parameter is null"});
    const Param level = pointer(Kind::OutInt, "level", {4, "level parameter is null"});
    const Param commands = pointer(Kind::OutText, "commands", {4, "commands parameter is null"});
    const Param master = pointer(Kind::OutText, "master", {4, "master parameter is null"});
    const Param info = pointer(Kind::OutText, "info", {4, "info parameter is null"});
    Param optionalRest = param(Kind::OutInt, "amountRest");
    optionalRest.required = false; // not checked by dispenseDV: a null one is simply not written

    const std::vector<Expect> durations = {kDuration, kDone,     kDone,     kDuration,
                                           kDuration, kDuration, kDuration, kDuration};
    const std::vector<Expect> regrets = {kRegret, kDone, kDone, kRegret, kRegret, kRegret, kRegret, kRegret};
    auto logins = [](const char* a, const char* b, const char* c, const char* d, const char* e, const char* f,
                     const char* g, const char* h) {
        return std::vector<Expect>{{0, "Done", a}, {0, "Done", b}, {0, "Done", c}, {0, "Done", d},
                                   {0, "Done", e}, {0, "Done", f}, {0, "Done", g}, {0, "Done", h}};
    };
    // Not range-checked: the amount goes out as "%08d" cut to 8 characters.
    const std::vector<Expect> asks = {{2, "Error", "d|-0000001"},
                                      kDone,
                                      kRest,
                                      {8, "Not possible (rest)", "d|10000000"},
                                      {8, "Not possible (rest)", "d|21474836"},
                                      {2, "Error", "d|-2147483"}};
    const std::vector<Expect> dispenses = {kDispenseSmall, kDone, kRest, kDispenseBig, kDispenseBig, kDispenseSmall};
    const std::vector<Expect> deposits = {kDepositSmall, kDone, kDepositBig, kDepositBig, kDepositBig, kDepositSmall};
    const std::vector<Expect> dues = {kRest, kDone, kDueTooBig, kDueTooBig, kDueTooBig, kDispenseBig};

    return {
        {"initDV", State::NotInitiated, {port, initText, message()}, kDone,
         [](const DvApi& a, Args& x) { return a.initDV(x.text(0), x.text(1), x.msg()); }},
        {"changeSettingsDV", State::NotInitiated,
         {settings, number(Kind::Number, "durationType", 0, durations), message()}, kDone,
         [](const DvApi& a, Args& x) { return a.changeSettingsDV(x.text(0), static_cast<short>(x.num(0)), x.msg()); }},
        {"registerEventsDV", State::NotInitiated,
         {callback(Kind::Status, "status"), callback(Kind::Error, "error"),
          callback(Kind::Level, "level"), message()},
         kDone, [](const DvApi& a, Args& x) { return a.registerEventsDV(x.status(), x.error(), x.level(), x.msg()); }},
        {"registerEvents2DV", State::NotInitiated,
         {callback(Kind::Status, "status"), callback(Kind::Error, "error"),
          callback(Kind::Level, "level"), callback(Kind::Session, "session"),
          message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.registerEvents2DV(x.status(), x.error(), x.level(), x.session(), x.msg());
         }},
        {"registerEvents3DV", State::NotInitiated,
         {callback(Kind::Status, "status"), callback(Kind::Error, "error"),
          callback(Kind::Warning, "warning"),
          callback(Kind::Session, "session"), message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.registerEvents3DV(x.status(), x.error(), x.warning(), x.session(), x.msg());
         }},
        {"registerEvents23DV", State::NotInitiated,
         {callback(Kind::Status, "status"), callback(Kind::Error, "error"),
          callback(Kind::Level, "level"), callback(Kind::Warning, "warning"),
          callback(Kind::Session, "session"), message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.registerEvents23DV(x.status(), x.error(), x.level(), x.warning(), x.session(), x.msg());
         }},
        {"exitDV", State::LoggedIn, {message()}, kDone,
         [](const DvApi& a, Args& x) { return a.exitDV(x.msg()); }},
        {"loginDV", State::LoggedIn,
         {number(Kind::Number, "cashRegId", 12,
                 logins("a|01|34|", "a|00|34|", "a|01|34|", "a|02|34|", "a|99|34|", "a|00|34|", "a|67|34|",
                        "a|68|34|")),
          number(Kind::Number, "cashierId", 34,
                 logins("a|12|01|", "a|12|00|", "a|12|01|", "a|12|02|", "a|12|99|", "a|12|00|", "a|12|67|",
                        "a|12|68|")),
          message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.loginDV(static_cast<short>(x.num(0)), static_cast<short>(x.num(1)), x.msg());
         }},
        {"loginStrDV", State::LoggedIn,
         {text("cashRegId", "12", false), text("cashierId", "34", false), message()}, kDone,
         [](const DvApi& a, Args& x) { return a.loginStrDV(x.text(0), x.text(1), x.msg()); }},
        {"logoutDV", State::LoggedIn, {message()}, kDone,
         [](const DvApi& a, Args& x) { return a.logoutDV(x.msg()); }},
        {"isOpenDV", State::LoggedIn, {open, message()}, kDone,
         [](const DvApi& a, Args& x) { return a.isOpenDV(x.outInt(), x.msg()); }},
        {"infoDV", State::LoggedIn, {level, commands, master, info, message()}, kDone,
         [](const DvApi& a, Args& x) {
             return a.infoDV(x.outInt(), x.outText(0), x.outText(1), x.outText(2), x.msg());
         }},
        {"enablePayinDV", State::LoggedIn, {message()}, kDone,
         [](const DvApi& a, Args& x) { return a.enablePayinDV(x.msg()); }},
        {"disablePayinDV", State::LoggedIn, {message()}, kDone,
         [](const DvApi& a, Args& x) { return a.disablePayinDV(x.msg()); }},
        {"depositDV", State::PayinDisabled, {transactId(), message()}, kDone,
         [](const DvApi& a, Args& x) { return a.depositDV(x.text(0), x.msg()); }},
        {"dispenseDV", State::PayinDisabled,
         {number(Kind::Amount, "amountDispense", 500, dispenses), transactId(), optionalRest, message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.dispenseDV(static_cast<int>(x.num(0)), x.text(0), x.outInt(), x.msg());
         }},
        {"askPayoutDV", State::LoggedIn, {number(Kind::Amount, "amountAskPay", 500, asks), message()},
         kDone, [](const DvApi& a, Args& x) { return a.askPayoutDV(static_cast<int>(x.num(0)), x.msg()); }},
        {"askPayout2DV", State::LoggedIn,
         {number(Kind::Amount, "amountAskPay", 500, asks), requiredRest(), message()},
         kDone,
         [](const DvApi& a, Args& x) { return a.askPayout2DV(static_cast<int>(x.num(0)), x.outInt(), x.msg()); }},
        {"payoutDV", State::PaidIn,
         {number(Kind::Amount, "amountDispense", 500, dispenses),
          number(Kind::Amount, "amountDeposit", 1000, deposits), transactId(), message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.payoutDV(static_cast<int>(x.num(0)), static_cast<int>(x.num(1)), x.text(0), x.msg());
         }},
        {"payout2DV", State::PaidIn,
         {number(Kind::Amount, "amountDispense", 500, dispenses),
          number(Kind::Amount, "amountDeposit", 1000, deposits), transactId(), requiredRest(),
          message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.payout2DV(static_cast<int>(x.num(0)), static_cast<int>(x.num(1)), x.text(0), x.outInt(),
                                x.msg());
         }},
        {"amountDueDV", State::PaidIn,
         {number(Kind::Amount, "amountDue", 500, dues), transactId(), requiredRest(),
          message()},
         kDone,
         [](const DvApi& a, Args& x) {
             return a.amountDueDV(static_cast<int>(x.num(0)), x.text(0), x.outInt(), x.msg());
         }},
        {"changeDV", State::LoggedIn, {message()}, kDone,
         [](const DvApi& a, Args& x) { return a.changeDV(x.msg()); }},
        {"regretDV", State::LoggedIn, {number(Kind::Number, "regretType", 1, regrets), message()}, kDone,
         [](const DvApi& a, Args& x) { return a.regretDV(static_cast<short>(x.num(0)), x.msg()); }},
        {"resetDV", State::LoggedIn, {message()}, kDone,
         [](const DvApi& a, Args& x) { return a.resetDV(x.msg()); }},
    };
}

std::vector<Row> rowsWith(std::function<bool(const Param&)> wanted)
{
    std::vector<Row> out;
    for (const Row& row : allRows())
        for (const Param& p : row.params)
            if (wanted(p)) {
                out.push_back(row);
                break;
            }
    return out;
}

// Slot of a parameter among those of its kind (texts and numbers share one
// numbering each).
int slotOf(const Row& row, size_t index)
{
    auto group = [](Kind k) { return k == Kind::Amount ? Kind::Number : k; };
    int slot = 0;
    for (size_t i = 0; i < index; ++i)
        if (group(row.params[i].kind) == group(row.params[index].kind))
            ++slot;
    return slot;
}

std::string replaced(const std::string& pattern, const std::string& value)
{
    std::string out = pattern;
    out.replace(out.find("{}"), 2, value);
    return out;
}

// A login command without its HHMM, which moves with the clock.
std::string withoutTime(const std::string& command)
{
    return command.compare(0, 2, "a|") == 0 && command.size() > 4 ? command.substr(0, command.size() - 4) : command;
}

// The settings every logged-in state starts from: an ask-payout before every
// payout of more than 0, whatever the cash levels, so that each call sends
// the same commands whatever ran before it.
const char* const kSettings = "AskPayOutAmountLimit:0";

class MatrixTest : public ReliabilityTest, public ::testing::WithParamInterface<Row> {
protected:
    void SetUp() override
    {
        ReliabilityTest::SetUp();
        if (GetParam().state == State::NotInitiated)
            registerAll();
        else
            initAndLogin(kSettings);
    }

    void registerAll()
    {
        char m[DV_MESSAGE_SIZE];
        ASSERT_EQ(dv().registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level, &Recorder::warning,
                                          &Recorder::session, m),
                  0);
    }

    // Brings the device back into the row's state before each call.
    void prepare()
    {
        char m[DV_MESSAGE_SIZE];
        int open = 0;
        switch (GetParam().state) {
        case State::NotInitiated:
            dv().exitDV(m); // a successful initDV before
            registerAll();
            return;
        case State::LoggedIn:
        case State::PayinDisabled:
        case State::PaidIn:
            if (dv().isOpenDV(&open, m) == 2) {
                ASSERT_EQ(init(kSettings), 0) << msg;
            }
            if (!open) {
                ASSERT_EQ(dv().loginDV(1, 1, m), 0) << m;
            }
            settle();
            break;
        }
        if (GetParam().state == State::PayinDisabled) {
            dv().disablePayinDV(m); // 12 once the cash is deposited, which is fine too
            settle();
        }
        if (GetParam().state == State::PaidIn) {
            dvsim_status s;
            dvsim_get_status(&s);
            if (s.paid_in == 0) {
                ASSERT_EQ(dvsim_insert(1000), DVSIM_OK);
            }
            settle();
        }
    }

    // Arguments with every default value.
    Args defaults()
    {
        Args x;
        const Row& row = GetParam();
        for (size_t i = 0; i < row.params.size(); ++i) {
            const Param& p = row.params[i];
            if (p.kind == Kind::Text)
                x.setText(slotOf(row, i), p.defaultText);
            if (p.kind == Kind::Amount || p.kind == Kind::Number)
                x.setNumber(slotOf(row, i), p.defaultNumber);
        }
        return x;
    }

    // One call, in a freshly prepared state; the device settles afterwards.
    short run(Args& x)
    {
        prepare();
        x.messageBuffer().fill('\x7f');
        const short status = GetParam().call(dv(), x);
        settle();
        return status;
    }

    void expectResult(const Expect& expected, short status, Args& x, const std::string& what)
    {
        EXPECT_EQ(status, expected.status) << what;
        if (expected.text) {
            EXPECT_EQ(x.messageBuffer().text(), expected.text) << what;
        }
        if (expected.wire) {
            EXPECT_EQ(lastCommand().substr(0, strlen(expected.wire)), expected.wire) << what;
        }
    }
};

// Pointer arguments, each null in turn, with the session initiated (before
// initDV the integration tests check the same refusals).
using NullPointer = MatrixTest;

TEST_P(NullPointer, EachPointerArgumentInTurn)
{
    const Row& row = GetParam();
    for (size_t i = 0; i < row.params.size(); ++i) {
        const Param& p = row.params[i];
        if (!isPointer(p.kind))
            continue;
        const std::string what = std::string(row.name) + " with " + p.name + " null";
        if (!p.required) {
            // Treated exactly as the empty text (or, for an output, as if given).
            Args reference = defaults();
            if (p.kind == Kind::Text)
                reference.setText(slotOf(row, i), "");
            const short expected = run(reference);
            const std::string expectedWire = lastCommand();
            Args x = defaults();
            x.makeNull(p.kind, slotOf(row, i));
            const short status = run(x);
            EXPECT_EQ(status, expected) << what;
            EXPECT_EQ(x.messageBuffer().text(), reference.messageBuffer().text()) << what;
            EXPECT_EQ(withoutTime(lastCommand()), withoutTime(expectedWire)) << what;
            continue;
        }
        prepare();
        const size_t logicLines = lineCount(logicLog());
        const long commands = commandCount();
        Args x = defaults();
        x.makeNull(p.kind, slotOf(row, i));
        x.messageBuffer().fill('\x7f');
        const short status = row.call(dv(), x);
        settle();
        EXPECT_EQ(status, p.whenNull.status) << what;
        if (p.kind != Kind::Message) {
            EXPECT_EQ(x.messageBuffer().text(), p.whenNull.text) << what;
        }
        EXPECT_EQ(commandCount(), commands) << what << ": nothing may reach the device";
        const std::string failed = std::string(row.name) + ": Failed! Returning 4";
        const std::string suffix = " (DV_STATUS_INPUT_PARAM_ERROR): ";
        std::string line;
        if (p.kind == Kind::Message)
            line = failed + suffix + "message parameter is null";
        else if (p.kind == Kind::Text)
            line = failed + suffix + p.name + " is null";
        else if (p.kind == Kind::OutInt || p.kind == Kind::OutText)
            line = failed + suffix + p.name + " parameter is null";
        else
            line = failed + ": empty callbacks"; // the registration itself refuses
        EXPECT_TRUE(hasLine(apiLog(), "!! " + line)) << what << ": " << line;
        EXPECT_TRUE(hasLine(errorLog(), "!! " + line)) << what << ": " << line;
        const bool isCallback = p.kind == Kind::Status || p.kind == Kind::Error || p.kind == Kind::Level ||
                                p.kind == Kind::Warning || p.kind == Kind::Session;
        if (!isCallback) {
            EXPECT_EQ(lineCount(logicLog()), logicLines) << what << ": the session must not be reached";
        }
    }
    expectWellFormedLogs();
}

INSTANTIATE_TEST_SUITE_P(Every, NullPointer, ::testing::ValuesIn(allRows()), rowName);

// Texts that a printf-style formatting would act on, a very long one, and
// bytes outside ASCII: used as they are, never interpreted, never cut on the
// way in.
using HostileText = MatrixTest;

TEST_P(HostileText, InEveryTextArgument)
{
    const std::vector<std::string> texts = {"%n%n%n%n", "%s%s%s%s%s", "100%%", std::string(10000, 'x'),
                                            "\xc3\xa4\xff\xfe\x80\x01\x7f"};
    const Row& row = GetParam();
    for (size_t i = 0; i < row.params.size(); ++i) {
        const Param& p = row.params[i];
        if (p.kind != Kind::Text)
            continue;
        for (const std::string& hostile : texts) {
            const std::string value = replaced(p.pattern, hostile);
            const std::string what = std::string(row.name) + " with " + p.name + " = " + value.substr(0, 40);
            Args x = defaults();
            x.setText(slotOf(row, i), value);
            const short status = run(x);
            const bool isLong = hostile.size() == 10000;
            expectResult(isLong && p.whenLong ? *p.whenLong : row.valid, status, x, what);
            // The entry line shows the text whole and unchanged.
            EXPECT_NE(readFile(apiLog()).find(value), std::string::npos) << what;
            const std::string wire = lastCommand();
            if (p.onWire && !isLong) {
                EXPECT_TRUE(wire.size() > value.size() && wire.compare(wire.size() - value.size() - 1,
                                                                       std::string::npos, "|" + value) == 0)
                    << what << ": " << wire;
            }
        }
    }
    expectWellFormedLogs();
}

INSTANTIATE_TEST_SUITE_P(Every, HostileText,
                         ::testing::ValuesIn(rowsWith([](const Param& p) { return p.kind == Kind::Text; })),
                         rowName);

// Amounts at -1, 0, 99999999, 100000000, INT_MAX and INT_MIN; short
// arguments at -1, 0, 1, 2, 99, 100, SHRT_MAX and SHRT_MIN.
using BoundaryNumber = MatrixTest;

TEST_P(BoundaryNumber, InEveryNumberArgument)
{
    const Row& row = GetParam();
    bool hasRest = false;
    for (const Param& p : row.params)
        hasRest = hasRest || std::string(p.name) == "amountRest";
    for (size_t i = 0; i < row.params.size(); ++i) {
        const Param& p = row.params[i];
        if (p.kind != Kind::Amount && p.kind != Kind::Number)
            continue;
        const std::vector<long>& values = p.kind == Kind::Amount ? kAmounts : kNumbers;
        ASSERT_EQ(p.perValue.size(), values.size()) << row.name << " " << p.name;
        for (size_t v = 0; v < values.size(); ++v) {
            const std::string what = std::string(row.name) + " with " + p.name + " = " + std::to_string(values[v]);
            Args x = defaults();
            x.setNumber(slotOf(row, i), values[v]);
            const short status = run(x);
            expectResult(p.perValue[v], status, x, what);
            // A rest is reported exactly when an ask-payout found one.
            if (hasRest) {
                EXPECT_EQ(x.outIntValue() > 0, status == 8) << what << ": amountRest=" << x.outIntValue();
            }
        }
    }
    expectWellFormedLogs();
}

INSTANTIATE_TEST_SUITE_P(Every, BoundaryNumber,
                         ::testing::ValuesIn(rowsWith([](const Param& p) {
                             return p.kind == Kind::Amount || p.kind == Kind::Number;
                         })),
                         rowName);

// Translations in dvlang.ini are texts, not formats: "%%" comes out as "%",
// every other directive as it stands, and a long one is cut to the buffer it
// goes into (the message buffer, or the text arguments of the events).
class TranslationTest : public ReliabilityTest {
protected:
    struct Case {
        const char* key;
        std::string translation;
        std::function<short(ExactBuffer&)> trigger;
        short status;
        std::string message;
    };

    static std::string repeat(char c, size_t n) { return std::string(n, c); }
};

TEST_F(TranslationTest, DirectivesAreCopiedAndLongTextsCut)
{
    const std::vector<Case> cases = {
        {"Not initiated", "%n%s%d%x%%", [this](ExactBuffer& m) { return dv().loginDV(1, 1, m); }, 2,
         "%n%s%d%x%"},
        {"open parameter is null", repeat('O', 300),
         [this](ExactBuffer& m) { return dv().isOpenDV(nullptr, m); }, 4, repeat('O', 255)},
        {"portSettings invalid", "%" + repeat('P', 10000),
         [this](ExactBuffer& m) {
             Text port("Type:X;Name:sim");
             return dv().initDV(port, nullptr, m);
         },
         4, "%" + repeat('P', 254)},
        {"Done", "100%% fertig %s",
         [this](ExactBuffer& m) {
             return dv().registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level,
                                              &Recorder::warning, &Recorder::session, m);
         },
         0, "100% fertig %s"},
        {"Closed", "%%%%%%%%" + repeat('%', 600),
         [this](ExactBuffer& m) {
             EXPECT_EQ(init(), 0);
             int level = 0;
             ExactBuffer commands(DV_INFO_COMMANDS_SIZE), master(DV_INFO_MASTER_SIZE), info(DV_INFO_INFO_SIZE);
             return dv().infoDV(&level, commands, master, info, m); // logged out: "Closed"
         },
         5, repeat('%', 255)},
    };
    std::string ini = "[Lang]\n";
    for (const Case& c : cases)
        ini += std::string(c.key) + " = " + c.translation + "\n";
    ini += "Error Code 7 = %n%s%x " + repeat('E', 300) + "\n";
    ini += "Low = %s%s" + repeat('L', 100) + "\n";
    writeFile(config.file("dvlang.ini"), ini);
    reload();

    for (const Case& c : cases) {
        ExactBuffer m(DV_MESSAGE_SIZE);
        EXPECT_EQ(c.trigger(m), c.status) << c.key;
        EXPECT_EQ(m.text(), c.message) << c.key;
    }

    // The texts of the events, cut to the sizes the header gives them.
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    settle();
    Recorder::instance().clear();
    ASSERT_EQ(dvsim_jam(), DVSIM_OK);
    ASSERT_EQ(dvsim_inject_report("b0000000011" "05 10 EUR       "), DVSIM_OK);
    settle();
    const std::string errorText = "%n%s%x " + repeat('E', DV_ERROR_TEXT_SIZE - 1 - 7);
    ASSERT_EQ(events("error").size(), 1u);
    EXPECT_EQ(events("error")[0].texts[0], errorText);
    const std::string errorLine = "ErrorEvent: errorCode=7, errorText=" + errorText + ", extInfo=ErrorInfo Not set";
    EXPECT_EQ(dvtest::grep(errorLog(), errorLine).size(), 1u);
    const std::vector<Event> warnings = events("warning");
    ASSERT_FALSE(warnings.empty());
    const Event& low = warnings.back();
    EXPECT_EQ(low.texts[0], "%s%s" + repeat('L', DV_LEVEL_TYPE_SIZE - 1 - 4));
    EXPECT_EQ(low.texts[2], ("10 %s%s" + repeat('L', 100)).substr(0, DV_LEVEL_WARNING_SIZE - 1));
    expectWellFormedLogs();
}

TEST(BadInputMatrix, HasARowForEveryExportedFunction)
{
    EXPECT_EQ(allRows().size(), 24u);
}

} // namespace
