// A small line editor for the console: keys from the terminal's bytes, an
// editing buffer with history and completion of command names, and a
// reader that keeps the terminal in raw mode while it exists. Without a
// terminal the reader just reads lines.
#ifndef DVCLI_LINEEDIT_H
#define DVCLI_LINEEDIT_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace dvcli {

enum class Key {
    Char, Enter, Backspace, Delete, Left, Right, Home, End, Up, Down,
    KillToEnd, KillToStart, KillWord, Interrupt, EndOfInput, Tab, Redraw
};

// Turns the bytes a terminal sends into keys (plain bytes, control keys,
// and the escape sequences of arrows, Home, End and Delete).
class KeyDecoder {
public:
    // Takes one byte; true when it completed a key.
    bool feed(unsigned char byte, Key& key, char& ch);
    // In the middle of an escape sequence.
    bool pending() const { return m_state != State::Normal; }
    void reset() { m_state = State::Normal; m_params.clear(); }

private:
    enum class State { Normal, Escape, Csi, Ss3 };
    State m_state = State::Normal;
    std::string m_params;
};

// The line being typed, the cursor, the history.
class LineEditor {
public:
    enum class Result { Continue, Done, EndOfInput, Interrupted };

    explicit LineEditor(std::vector<std::string> words = {}) : m_words(std::move(words)) {}

    // Starts a new, empty line (history navigation starts at its end).
    void start();
    Result apply(Key key, char ch = 0);

    const std::string& text() const { return m_text; }
    size_t cursor() const { return m_cursor; }

    // Adds a finished line (not blanks, not the same line twice in a row).
    void remember(const std::string& line);
    const std::vector<std::string>& history() const { return m_history; }

    // After Tab: the names that fit when more than one does.
    const std::vector<std::string>& candidates() const { return m_candidates; }

    static constexpr size_t kHistoryLimit = 500;

private:
    void complete();

    std::vector<std::string> m_words;
    std::string m_text;
    size_t m_cursor = 0;
    std::vector<std::string> m_history;
    size_t m_position = 0; // == m_history.size(): the new line
    std::string m_saved;   // the new line while browsing the history
    std::vector<std::string> m_candidates;
};

// Reads lines from standard input: edited on a terminal, plain otherwise.
class LineReader {
public:
    LineReader(std::string prompt, std::vector<std::string> words);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    bool interactive() const { return m_interactive; }
    // One line, without its end; false at the end of input.
    bool read(std::string& line);

private:
    bool readEdited(std::string& line);

    std::string m_prompt;
    bool m_interactive;
    LineEditor m_editor;
};

} // namespace dvcli

#endif
