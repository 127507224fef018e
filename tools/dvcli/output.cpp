#include "output.h"

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace dvcli {

namespace {

const char* colourCode(Tone tone)
{
    switch (tone) {
    case Tone::Good: return "\x1b[32m";
    case Tone::Bad: return "\x1b[1;31m";
    case Tone::Warn: return "\x1b[33m";
    case Tone::Event: return "\x1b[36m";
    case Tone::Heading: return "\x1b[1m";
    case Tone::Dim: return "\x1b[2m";
    case Tone::Plain: break;
    }
    return "";
}

size_t terminalWidth()
{
    struct winsize size;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

} // namespace

std::string padded(const std::string& text, size_t width)
{
    return text.size() >= width ? text : text + std::string(width - text.size(), ' ');
}

Output& Output::instance()
{
    static Output* const output = new Output();
    return *output;
}

void Output::setColour(bool on)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_colour = on;
}

bool Output::colour() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_colour;
}

void Output::setQuiet(bool on)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_quiet = on;
}

std::string Output::paint(const std::string& text, Tone tone) const
{
    bool colour;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        colour = m_colour;
    }
    if (!colour || tone == Tone::Plain)
        return text;
    return colourCode(tone) + text + "\x1b[0m";
}

void Output::write(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void Output::line(const std::string& text, Tone tone)
{
    const std::string shown = paint(text, tone);
    std::lock_guard<std::mutex> lock(m_mutex);
    clearEditLine();
    breakCallLine();
    write(shown + "\n");
    drawEditLine();
}

void Output::errorLine(const std::string& text)
{
    const std::string shown = paint(text, Tone::Bad);
    std::lock_guard<std::mutex> lock(m_mutex);
    clearEditLine();
    breakCallLine();
    std::fwrite(shown.data(), 1, shown.size(), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
    drawEditLine();
}

void Output::beginCall(const std::string& call)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_quiet)
        return;
    write("  " + call);
    m_callOpen = true;
    m_callBroken = false;
    m_callLength = call.size();
}

void Output::endCall(const std::string& status, Tone tone, const std::string& message)
{
    const std::string shownStatus = paint(status, tone);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_quiet)
        return;
    std::string text;
    if (!m_callOpen) {
        text = "  " + std::string(kCallColumn, ' ');
    } else if (m_callBroken || m_callLength >= kCallColumn) {
        // Events came in between, or the call is too long for its column:
        // the result goes on a line of its own, in its columns.
        text = (m_callBroken ? "" : "\n") + std::string("  ") + std::string(kCallColumn, ' ');
    } else {
        text = std::string(kCallColumn - m_callLength, ' ');
    }
    text += " " + shownStatus;
    if (!message.empty())
        text += std::string(status.size() < kStatusColumn ? kStatusColumn - status.size() : 1, ' ') + message;
    write(text + "\n");
    m_callOpen = false;
    m_callBroken = false;
}

void Output::event(const std::string& text)
{
    const std::string marker = paint("[event]", Tone::Event);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_quiet)
        return;
    clearEditLine();
    breakCallLine();
    write("  " + marker + " " + text + "\n");
    drawEditLine();
}

void Output::editShow(const std::string& prompt, const std::string& text, size_t cursor)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_editing = true;
    m_prompt = prompt;
    m_text = text;
    m_cursor = cursor > text.size() ? text.size() : cursor;
    drawEditLine();
}

void Output::editDone()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_editing)
        return;
    m_cursor = m_text.size();
    drawEditLine();
    m_editing = false;
    write("\n");
}

void Output::breakCallLine()
{
    if (m_callOpen && !m_callBroken) {
        write("\n");
        m_callBroken = true;
    }
}

void Output::clearEditLine()
{
    if (m_editing)
        write("\r\x1b[K");
}

void Output::drawEditLine()
{
    if (!m_editing)
        return;
    // The prompt is plain text here (no colour), so its length is its width.
    const size_t width = terminalWidth();
    size_t room = width > m_prompt.size() + 11 ? width - m_prompt.size() - 1 : 10;
    size_t start = 0;
    if (m_cursor > room)
        start = m_cursor - room;
    const std::string visible = m_text.substr(start, room);
    std::string out = "\r" + m_prompt + visible + "\x1b[K\r";
    const size_t column = m_prompt.size() + (m_cursor - start);
    if (column > 0)
        out += "\x1b[" + std::to_string(column) + "C";
    write(out);
}

} // namespace dvcli
