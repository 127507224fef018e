#include "lineedit.h"

#include "output.h"

#include <cerrno>
#include <csignal>
#include <iostream>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace dvcli {

// ---- Keys ------------------------------------------------------------------

bool KeyDecoder::feed(unsigned char byte, Key& key, char& ch)
{
    ch = 0;
    switch (m_state) {
    case State::Normal:
        switch (byte) {
        case 0x1b: m_state = State::Escape; return false;
        case 0x01: key = Key::Home; return true;
        case 0x02: key = Key::Left; return true;
        case 0x03: key = Key::Interrupt; return true;
        case 0x04: key = Key::EndOfInput; return true;
        case 0x05: key = Key::End; return true;
        case 0x06: key = Key::Right; return true;
        case 0x08:
        case 0x7f: key = Key::Backspace; return true;
        case 0x09: key = Key::Tab; return true;
        case 0x0b: key = Key::KillToEnd; return true;
        case 0x0c: key = Key::Redraw; return true;
        case 0x0a:
        case 0x0d: key = Key::Enter; return true;
        case 0x0e: key = Key::Down; return true;
        case 0x10: key = Key::Up; return true;
        case 0x15: key = Key::KillToStart; return true;
        case 0x17: key = Key::KillWord; return true;
        default:
            if (byte >= 0x20 && byte < 0x7f) {
                key = Key::Char;
                ch = static_cast<char>(byte);
                return true;
            }
            return false; // other bytes (and non-ASCII text) are not taken
        }
    case State::Escape:
        if (byte == '[') {
            m_state = State::Csi;
            m_params.clear();
        } else if (byte == 'O') {
            m_state = State::Ss3;
        } else {
            reset();
        }
        return false;
    case State::Ss3:
        reset();
        switch (byte) {
        case 'A': key = Key::Up; return true;
        case 'B': key = Key::Down; return true;
        case 'C': key = Key::Right; return true;
        case 'D': key = Key::Left; return true;
        case 'H': key = Key::Home; return true;
        case 'F': key = Key::End; return true;
        default: return false;
        }
    case State::Csi:
        if (byte >= 0x30 && byte <= 0x3f) { // parameters
            if (m_params.size() < 16)
                m_params.push_back(static_cast<char>(byte));
            return false;
        }
        if (byte >= 0x20 && byte <= 0x2f)
            return false; // intermediate bytes
        {
            const std::string params = m_params;
            reset();
            switch (byte) {
            case 'A': key = Key::Up; return true;
            case 'B': key = Key::Down; return true;
            case 'C': key = Key::Right; return true;
            case 'D': key = Key::Left; return true;
            case 'H': key = Key::Home; return true;
            case 'F': key = Key::End; return true;
            case '~':
                if (params == "1" || params == "7") {
                    key = Key::Home;
                    return true;
                }
                if (params == "4" || params == "8") {
                    key = Key::End;
                    return true;
                }
                if (params == "3") {
                    key = Key::Delete;
                    return true;
                }
                return false;
            default: return false;
            }
        }
    }
    return false;
}

// ---- Editing ---------------------------------------------------------------

void LineEditor::start()
{
    m_text.clear();
    m_cursor = 0;
    m_position = m_history.size();
    m_saved.clear();
    m_candidates.clear();
}

void LineEditor::remember(const std::string& line)
{
    if (line.find_first_not_of(" \t") == std::string::npos)
        return;
    if (!m_history.empty() && m_history.back() == line)
        return;
    m_history.push_back(line);
    if (m_history.size() > kHistoryLimit)
        m_history.erase(m_history.begin());
}

void LineEditor::complete()
{
    m_candidates.clear();
    // Only the command name, the first word, is completed.
    const size_t start = m_text.find_first_not_of(' ');
    if (start == std::string::npos || m_cursor < start || m_text.find(' ', start) < m_cursor)
        return;
    const std::string prefix = m_text.substr(start, m_cursor - start);
    std::vector<std::string> fits;
    for (const std::string& w : m_words)
        if (w.compare(0, prefix.size(), prefix) == 0)
            fits.push_back(w);
    if (fits.empty())
        return;
    std::string common = fits[0];
    for (const std::string& w : fits) {
        size_t n = 0;
        while (n < common.size() && n < w.size() && common[n] == w[n])
            ++n;
        common.resize(n);
    }
    std::string insert = common.substr(prefix.size());
    if (fits.size() == 1 && (m_cursor == m_text.size() || m_text[m_cursor] != ' '))
        insert.push_back(' ');
    if (fits.size() > 1 && insert.empty())
        m_candidates = fits;
    m_text.insert(m_cursor, insert);
    m_cursor += insert.size();
}

LineEditor::Result LineEditor::apply(Key key, char ch)
{
    m_candidates.clear();
    switch (key) {
    case Key::Char:
        m_text.insert(m_cursor, 1, ch);
        ++m_cursor;
        break;
    case Key::Enter: return Result::Done;
    case Key::Interrupt: return Result::Interrupted;
    case Key::EndOfInput:
        if (m_text.empty())
            return Result::EndOfInput;
        if (m_cursor < m_text.size())
            m_text.erase(m_cursor, 1);
        break;
    case Key::Backspace:
        if (m_cursor > 0) {
            m_text.erase(m_cursor - 1, 1);
            --m_cursor;
        }
        break;
    case Key::Delete:
        if (m_cursor < m_text.size())
            m_text.erase(m_cursor, 1);
        break;
    case Key::Left:
        if (m_cursor > 0)
            --m_cursor;
        break;
    case Key::Right:
        if (m_cursor < m_text.size())
            ++m_cursor;
        break;
    case Key::Home: m_cursor = 0; break;
    case Key::End: m_cursor = m_text.size(); break;
    case Key::KillToEnd: m_text.erase(m_cursor); break;
    case Key::KillToStart:
        m_text.erase(0, m_cursor);
        m_cursor = 0;
        break;
    case Key::KillWord: {
        size_t from = m_cursor;
        while (from > 0 && m_text[from - 1] == ' ')
            --from;
        while (from > 0 && m_text[from - 1] != ' ')
            --from;
        m_text.erase(from, m_cursor - from);
        m_cursor = from;
        break;
    }
    case Key::Up:
        if (m_position > 0) {
            if (m_position == m_history.size())
                m_saved = m_text;
            --m_position;
            m_text = m_history[m_position];
            m_cursor = m_text.size();
        }
        break;
    case Key::Down:
        if (m_position < m_history.size()) {
            ++m_position;
            m_text = m_position == m_history.size() ? m_saved : m_history[m_position];
            m_cursor = m_text.size();
        }
        break;
    case Key::Tab: complete(); break;
    case Key::Redraw: break;
    }
    return Result::Continue;
}

// ---- The terminal ----------------------------------------------------------
//
// The terminal stays in raw mode for the whole console session, not only
// while a line is typed: keys pressed while a command runs then wait, not
// echoed, until the next prompt takes them (in the terminal's normal mode
// they would be echoed into the output, and Ctrl-D would be lost). Signals
// stay on: Ctrl-C at the prompt drops the line, during a command it ends
// dvcli; Ctrl-Z is off, so that the terminal is never left in raw mode.

namespace {

struct termios g_saved;
volatile sig_atomic_t g_raw = 0;
volatile sig_atomic_t g_atPrompt = 0;
volatile sig_atomic_t g_interrupted = 0;

// TCSANOW, not TCSAFLUSH: lines typed or pasted ahead must survive the
// switches between raw and normal mode.
void restoreTerminal()
{
    if (g_raw) {
        tcsetattr(STDIN_FILENO, TCSANOW, &g_saved);
        g_raw = 0;
    }
}

// A signal that ends dvcli must not leave the terminal in raw mode.
extern "C" void onFatalSignal(int signal)
{
    if (g_raw)
        tcsetattr(STDIN_FILENO, TCSANOW, &g_saved);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

extern "C" void onInterrupt(int signal)
{
    if (g_atPrompt) {
        g_interrupted = 1;
        return;
    }
    onFatalSignal(signal);
}

bool enterRawMode()
{
    if (tcgetattr(STDIN_FILENO, &g_saved) != 0)
        return false;
    struct termios raw = g_saved;
    raw.c_iflag &= static_cast<tcflag_t>(~(ICRNL | IXON | INLCR | IGNCR));
    raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO | IEXTEN));
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    raw.c_cc[VSUSP] = _POSIX_VDISABLE;
    if (tcsetattr(STDIN_FILENO, TCSANOW, &raw) != 0)
        return false;
    g_raw = 1;
    return true;
}

} // namespace

LineReader::LineReader(std::string prompt, std::vector<std::string> words)
    : m_prompt(std::move(prompt)), m_interactive(isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)),
      m_editor(std::move(words))
{
    if (!m_interactive)
        return;
    for (int s : {SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV})
        std::signal(s, onFatalSignal);
    struct sigaction interrupt = {};
    interrupt.sa_handler = onInterrupt;
    sigemptyset(&interrupt.sa_mask);
    interrupt.sa_flags = 0; // no SA_RESTART: the prompt's poll returns
    sigaction(SIGINT, &interrupt, nullptr);
    m_interactive = enterRawMode();
}

LineReader::~LineReader()
{
    restoreTerminal();
}

bool LineReader::read(std::string& line)
{
    if (m_interactive)
        return readEdited(line);
    if (!std::getline(std::cin, line))
        return false;
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return true;
}

bool LineReader::readEdited(std::string& line)
{
    Output& out = Output::instance();
    KeyDecoder decoder;
    m_editor.start();
    out.editShow(m_prompt, "", 0);
    g_interrupted = 0;
    g_atPrompt = 1;
    bool gotLine = false;
    for (;;) {
        struct pollfd fd = {STDIN_FILENO, POLLIN, 0};
        // A lone Escape is dropped when nothing follows it quickly.
        const int ready = poll(&fd, 1, decoder.pending() ? 50 : -1);
        Key key = Key::Redraw;
        char ch = 0;
        if (ready < 0 && errno == EINTR) {
            if (!g_interrupted)
                continue;
            g_interrupted = 0;
            key = Key::Interrupt;
        } else if (ready == 0) {
            decoder.reset();
            continue;
        } else {
            unsigned char byte = 0;
            const ssize_t n = ::read(STDIN_FILENO, &byte, 1);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) { // the terminal went away
                gotLine = !m_editor.text().empty();
                line = m_editor.text();
                break;
            }
            if (!decoder.feed(byte, key, ch))
                continue;
        }
        const LineEditor::Result result = m_editor.apply(key, ch);
        if (result == LineEditor::Result::Done) {
            line = m_editor.text();
            m_editor.remember(line);
            gotLine = true;
            break;
        }
        if (result == LineEditor::Result::EndOfInput)
            break;
        if (result == LineEditor::Result::Interrupted) {
            out.editShow(m_prompt, m_editor.text() + "^C", m_editor.text().size() + 2);
            out.editDone();
            m_editor.start();
            out.editShow(m_prompt, "", 0);
            continue;
        }
        if (!m_editor.candidates().empty()) {
            std::string list;
            for (const std::string& c : m_editor.candidates())
                list += c + "  ";
            out.line(list);
        }
        out.editShow(m_prompt, m_editor.text(), m_editor.cursor());
    }
    g_atPrompt = 0;
    out.editDone();
    return gotLine;
}

} // namespace dvcli
