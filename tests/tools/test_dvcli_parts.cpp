// dvcli's parts on their own: splitting command lines, numbers, event
// patterns and the event log, the terminal key decoder and the line editor.
#include "events.h"
#include "lineedit.h"
#include "words.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace dvcli;

namespace {

std::vector<std::string> split(const std::string& line)
{
    std::vector<std::string> words;
    std::string error;
    EXPECT_TRUE(splitWords(line, words, error)) << line;
    return words;
}

Event statusEvent(long long amount, long long status, long long mode)
{
    Event e;
    e.kind = EventKind::Status;
    e.numbers = {amount, status, mode};
    return e;
}

EventPattern pattern(const std::string& line)
{
    EventPattern p;
    std::string error;
    EXPECT_TRUE(parseEventPattern(split(line), 0, p, error)) << error;
    return p;
}

// Feeds bytes to a decoder and collects the keys.
std::vector<Key> keys(const std::string& bytes, std::string* chars = nullptr)
{
    KeyDecoder decoder;
    std::vector<Key> out;
    for (unsigned char b : bytes) {
        Key key;
        char ch;
        if (decoder.feed(b, key, ch)) {
            out.push_back(key);
            if (chars && key == Key::Char)
                chars->push_back(ch);
        }
    }
    return out;
}

void typeText(LineEditor& editor, const std::string& text)
{
    for (char c : text)
        editor.apply(Key::Char, c);
}

} // namespace

TEST(Words, SplitKeepsQuotedTextAndStopsAtAComment)
{
    EXPECT_EQ(split("  payout 750\t1250 \"T 1\"  # the change"),
              (std::vector<std::string>{"payout", "750", "1250", "T 1"}));
    EXPECT_EQ(split("deposit T#1"), (std::vector<std::string>{"deposit", "T#1"})); // '#' inside a word
    EXPECT_EQ(split("init \"\""), (std::vector<std::string>{"init", ""}));        // an empty text
    EXPECT_EQ(split("x \"a\\\"b\\\\\" \"#\""), (std::vector<std::string>{"x", "a\"b\\", "#"}));
    EXPECT_EQ(split("pre\"fix suf\"fix"), (std::vector<std::string>{"prefix suffix"}));
    EXPECT_TRUE(split("   # only a comment").empty());

    std::vector<std::string> words;
    std::string error;
    EXPECT_FALSE(splitWords("login \"1 2", words, error));
    EXPECT_EQ(error, "unterminated quote");
}

TEST(Words, NumbersAreWholeAndWithinTheirRange)
{
    long long n = 0;
    EXPECT_TRUE(parseNumber("-32768", -32768, 32767, n));
    EXPECT_EQ(n, -32768);
    EXPECT_TRUE(parseNumber("+5", 0, 9, n));
    EXPECT_EQ(n, 5);
    for (const char* bad : {"", "-", "12x", "1.5", " 1", "0x10", "32768", "99999999999999999999999"})
        EXPECT_FALSE(parseNumber(bad, -32768, 32767, n)) << bad;
}

TEST(Words, OutsideTextIsEscapedAndMoneyHasItsDecimals)
{
    EXPECT_EQ(printable(std::string("JAM\n\x01\"\\%s", 9)), "JAM\\x0a\\x01\\\"\\\\%s");
    EXPECT_EQ(quoted("Grüße"), "\"Grüße\""); // translations stay readable
    EXPECT_EQ(money(1250), "12.50");
    EXPECT_EQ(money(5), "0.05");
    EXPECT_EQ(money(-750), "-7.50");
    EXPECT_EQ(money(1250, 0), "1250");
    EXPECT_EQ(money(7, 3), "0.007");
}

TEST(Events, PatternsMatchTheFieldsGivenAndWildcards)
{
    EXPECT_TRUE(pattern("status 2000 0 1").matches(statusEvent(2000, 0, 1)));
    EXPECT_FALSE(pattern("status 2000 0 1").matches(statusEvent(2000, 1, 1)));
    EXPECT_TRUE(pattern("status * 3").matches(statusEvent(750, 3, 0))); // the mode left out
    EXPECT_TRUE(pattern("status").matches(statusEvent(1, 2, 0)));
    Event error;
    error.kind = EventKind::Error;
    error.numbers = {7};
    EXPECT_FALSE(pattern("status").matches(error));
    EXPECT_TRUE(pattern("error 7").matches(error));
    EXPECT_FALSE(pattern("error 8").matches(error));
}

TEST(Events, BadPatternsAreRefusedWithAReason)
{
    EventPattern p;
    std::string error;
    EXPECT_FALSE(parseEventPattern(split("expect-event"), 1, p, error));
    EXPECT_FALSE(parseEventPattern(split("expect-event jam"), 1, p, error));
    EXPECT_NE(error.find("unknown event kind 'jam'"), std::string::npos);
    EXPECT_FALSE(parseEventPattern(split("expect-event error 7 8"), 1, p, error));
    EXPECT_NE(error.find("1 field(s): code"), std::string::npos);
    EXPECT_FALSE(parseEventPattern(split("expect-event level 50 x"), 1, p, error));
    EXPECT_NE(error.find("the left field"), std::string::npos);
}

TEST(Events, DescriptionsEscapeTheDevicesTexts)
{
    Event e;
    e.kind = EventKind::Error;
    e.numbers = {7};
    e.texts = {"NOTE\nJAM", "%n%s"};
    const std::string line = e.describe();
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_NE(line.find("\"NOTE\\x0aJAM\""), std::string::npos);
    EXPECT_NE(line.find("\"%n%s\""), std::string::npos);
}

TEST(Events, WaitForFindsALaterEventAndIgnoresEarlierOnes)
{
    EventLog& log = EventLog::instance();
    const size_t start = log.size();
    log.add(statusEvent(1000, 0, 1));
    const size_t from = log.size();
    EXPECT_EQ(log.waitFor(pattern("status 1000"), from, 20), -1); // before `from`

    std::thread device([&log] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        log.add(statusEvent(1000, 1, 1));
        log.add(statusEvent(1500, 0, 1));
    });
    EXPECT_EQ(log.waitFor(pattern("status 1500 0"), from, 5000), static_cast<long>(start + 2));
    device.join();
    EXPECT_EQ(log.waitFor(pattern("status 1500 0"), start + 3, 0), -1);
}

TEST(Keys, TerminalSequencesBecomeKeys)
{
    EXPECT_EQ(keys("\x1b[A\x1b[B\x1b[C\x1b[D\x1bOA\x1bOH\x1bOF"),
              (std::vector<Key>{Key::Up, Key::Down, Key::Right, Key::Left, Key::Up, Key::Home, Key::End}));
    EXPECT_EQ(keys("\x1b[1~\x1b[4~\x1b[3~\x1b[7~\x1b[8~\x1b[H\x1b[F"),
              (std::vector<Key>{Key::Home, Key::End, Key::Delete, Key::Home, Key::End, Key::Home, Key::End}));
    // Modifiers are ignored (Ctrl-Right moves right); unknown sequences are
    // swallowed whole.
    std::string chars;
    EXPECT_EQ(keys("\x1b[1;5Cx\x1b[99~y\x1b[2$z", &chars), (std::vector<Key>{Key::Right, Key::Char, Key::Char}));
    EXPECT_EQ(chars, "xy");
    EXPECT_EQ(keys("\r\n\x7f\x08\x03\x04\x01\x05\x0b\x15\x17\t\x10\x0e"),
              (std::vector<Key>{Key::Enter, Key::Enter, Key::Backspace, Key::Backspace, Key::Interrupt,
                                Key::EndOfInput, Key::Home, Key::End, Key::KillToEnd, Key::KillToStart,
                                Key::KillWord, Key::Tab, Key::Up, Key::Down}));
    // Non-ASCII bytes are not taken into the line.
    chars.clear();
    EXPECT_EQ(keys("a\xc3\xa4" "b", &chars).size(), 2u);
    EXPECT_EQ(chars, "ab");
}

TEST(LineEditor, EditsAtTheCursor)
{
    LineEditor e;
    e.start();
    typeText(e, "payout 750 T1");
    e.apply(Key::Left);
    e.apply(Key::Left);
    typeText(e, "1250 ");
    EXPECT_EQ(e.text(), "payout 750 1250 T1");
    EXPECT_EQ(e.cursor(), 16u);
    e.apply(Key::KillWord); // the blank before the cursor and the word before it
    EXPECT_EQ(e.text(), "payout 750 T1");
    EXPECT_EQ(e.cursor(), 11u);
    e.apply(Key::KillToEnd);
    EXPECT_EQ(e.text(), "payout 750 ");
    e.apply(Key::Home);
    e.apply(Key::Backspace); // nothing before the cursor
    e.apply(Key::Delete);
    EXPECT_EQ(e.text(), "ayout 750 ");
    e.apply(Key::End);
    e.apply(Key::Delete); // nothing after it
    e.apply(Key::Right);
    EXPECT_EQ(e.cursor(), e.text().size());
    e.apply(Key::Left);
    e.apply(Key::KillToStart);
    EXPECT_EQ(e.text(), " ");
    EXPECT_EQ(e.cursor(), 0u);

    // Ctrl-D deletes under the cursor; only on an empty line it ends the input.
    e.apply(Key::End);
    EXPECT_EQ(e.apply(Key::EndOfInput), LineEditor::Result::Continue);
    EXPECT_EQ(e.text(), " ");
    e.apply(Key::Home);
    EXPECT_EQ(e.apply(Key::EndOfInput), LineEditor::Result::Continue);
    EXPECT_EQ(e.text(), "");
    EXPECT_EQ(e.apply(Key::EndOfInput), LineEditor::Result::EndOfInput);
    EXPECT_EQ(e.apply(Key::Enter), LineEditor::Result::Done);
    EXPECT_EQ(e.apply(Key::Interrupt), LineEditor::Result::Interrupted);
}

TEST(LineEditor, HistoryBrowsingKeepsTheLineBeingTyped)
{
    LineEditor e;
    for (const char* line : {"init", "login 1 1", "login 1 1", "   ", "enable"})
        e.remember(line);
    EXPECT_EQ(e.history(), (std::vector<std::string>{"init", "login 1 1", "enable"}));

    e.start();
    typeText(e, "sim ins");
    e.apply(Key::Up);
    EXPECT_EQ(e.text(), "enable");
    e.apply(Key::Up);
    e.apply(Key::Up);
    e.apply(Key::Up); // stays at the oldest
    EXPECT_EQ(e.text(), "init");
    EXPECT_EQ(e.cursor(), 4u);
    e.apply(Key::Down);
    EXPECT_EQ(e.text(), "login 1 1");
    e.apply(Key::Down);
    e.apply(Key::Down);
    EXPECT_EQ(e.text(), "sim ins");
    e.apply(Key::Down);
    EXPECT_EQ(e.text(), "sim ins");

    for (size_t i = 0; i < LineEditor::kHistoryLimit + 10; ++i)
        e.remember("line " + std::to_string(i));
    EXPECT_EQ(e.history().size(), LineEditor::kHistoryLimit);
    EXPECT_EQ(e.history().back(), "line " + std::to_string(LineEditor::kHistoryLimit + 9));
}

TEST(LineEditor, TabCompletesTheCommandName)
{
    LineEditor e({"login", "loginstr", "logout", "payout", "payout2"});
    e.start();
    typeText(e, "lo");
    e.apply(Key::Tab);
    EXPECT_EQ(e.text(), "log"); // common to all three
    EXPECT_TRUE(e.candidates().empty());
    e.apply(Key::Tab);
    EXPECT_EQ(e.candidates(), (std::vector<std::string>{"login", "loginstr", "logout"}));
    typeText(e, "ou");
    e.apply(Key::Tab);
    EXPECT_EQ(e.text(), "logout ");

    e.start();
    typeText(e, "payout 5");
    e.apply(Key::Tab); // only the first word is completed
    EXPECT_EQ(e.text(), "payout 5");
    e.start();
    typeText(e, "xyz");
    e.apply(Key::Tab);
    EXPECT_EQ(e.text(), "xyz");
}
