// Everything dvcli prints goes through one Output object, because two
// threads print: the main thread (calls, results, the prompt) and the
// device thread (events, from inside the library's callbacks). The object
// serialises their lines, keeps a call's result on the call's line when no
// event came in between, and redraws the prompt with the text being typed
// after an event has been printed above it.
#ifndef DVCLI_OUTPUT_H
#define DVCLI_OUTPUT_H

#include <cstddef>
#include <mutex>
#include <string>

namespace dvcli {

enum class Tone { Plain, Good, Bad, Warn, Event, Heading, Dim };

// Columns of a call line: the call, its status, its message.
const size_t kCallColumn = 38;
const size_t kStatusColumn = 30;

class Output {
public:
    // The one instance; it is never destroyed, so that a callback running
    // late during the process's exit still finds it.
    static Output& instance();

    void setColour(bool on);
    bool colour() const;
    // Quiet: calls, results and events are not printed (lines still are).
    void setQuiet(bool on);

    // `text` wrapped in the tone's colour when colour is on.
    std::string paint(const std::string& text, Tone tone) const;

    // A whole line. `text` is printed as it is (no format).
    void line(const std::string& text, Tone tone = Tone::Plain);
    // A line to standard error (after flushing standard output).
    void errorLine(const std::string& text);

    // A call's text; its result follows with endCall.
    void beginCall(const std::string& call);
    void endCall(const std::string& status, Tone tone, const std::string& message);

    // An event, from any thread, printed at once on its own line.
    void event(const std::string& text);

    // The line editor's display: the prompt, the text typed so far and the
    // cursor position in it. editShow draws (and keeps redrawing it after
    // events); editDone ends the line.
    void editShow(const std::string& prompt, const std::string& text, size_t cursor);
    void editDone();

private:
    Output() = default;
    void write(const std::string& text);
    // Ends an unfinished call line before another line is printed; the
    // call's result then goes on a line of its own.
    void breakCallLine();
    void clearEditLine();
    void drawEditLine();

    mutable std::mutex m_mutex;
    bool m_colour = false;
    bool m_quiet = false;
    // An unfinished call line.
    bool m_callOpen = false;
    bool m_callBroken = false;
    size_t m_callLength = 0;
    // The prompt on screen.
    bool m_editing = false;
    std::string m_prompt, m_text;
    size_t m_cursor = 0;
};

// Pads `text` with blanks to `width` characters (nothing when longer).
std::string padded(const std::string& text, size_t width);

} // namespace dvcli

#endif
