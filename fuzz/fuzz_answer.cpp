// Fuzz target: the device's answers, through the device link's commands.
//
// The program links a stand-in communication library (fakelinkora) whose
// dv_002 writes whatever answer the input holds. Input: a selector byte, two
// 32-bit amounts, an identifier (length byte and bytes), and the answer
// bytes. The selector picks one command method of the link (or a raw
// exchange, or a new initialisation whose answer and result come from the
// input). For every input the command on the wire must have the layout of
// its command, and the status and message must follow from the answer's
// third character alone.
#include "fuzzsupport.h"

#include "fakelinkora.h"

#include "dvlogics.h"
#include "link/clinkora.h"
#include "support/dvclock.h"
#include "support/dvtext.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

const size_t kMaxInput = 4096;

bool ignoreReport(unsigned char*)
{
    return true;
}

timeval fixedClock()
{
    timeval tv;
    tv.tv_sec = 1794819907; // 09:05:07 UTC
    tv.tv_usec = 0;
    return tv;
}

// "%0<w>d", cut to exactly w characters.
std::string fixed(int value, int width)
{
    char text[32];
    snprintf(text, sizeof text, "%0*d", width, value);
    return std::string(text).substr(0, static_cast<size_t>(width));
}

// The decimal text, padded with zeros on the left to at least w characters.
std::string padded(int value, size_t width)
{
    const std::string text = std::to_string(value);
    return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

std::string lastCommand()
{
    const long n = fakelink_last_command(nullptr, 0);
    FUZZ_CHECK(n >= 0);
    std::string command(static_cast<size_t>(n) + 1, '\0');
    fakelink_last_command(&command[0], command.size());
    command.resize(static_cast<size_t>(n));
    return command;
}

// The status and text an answer stands for.
short expectedStatus(const std::string& answer, const char** text)
{
    const std::string seen = answer.substr(0, std::min(answer.find('\0'), size_t(63)));
    const char code = seen.size() > 2 ? seen[2] : '\0';
    switch (code) {
    case '0': *text = "Done"; return 0;
    case '1': *text = "Busy"; return 1;
    case '2': *text = "Error"; return 2;
    case '3': *text = "Closed"; return 5;
    default: *text = "Send failed"; return 7;
    }
}

void reinitialise(short result, const std::string& answer, char* portName, char* message)
{
    FUZZ_CHECK(linkora.exit(message) == 0);
    fakelink_set_initiate(result, answer.data(), answer.size());
    const short status = linkora.initialize(&ignoreReport, portName, message);
    FUZZ_CHECK(status == result);
    FUZZ_CHECK(dvfuzz::terminatedWithin(message, DV_MESSAGE_SIZE));
    if (result != 0) {
        // The library's answer text, as the message, as it stands.
        const std::string seen = answer.substr(0, std::min(answer.find('\0'), size_t(63)));
        FUZZ_CHECK(message == seen);
        fakelink_set_initiate(0, "ok", 2);
        FUZZ_CHECK(linkora.initialize(&ignoreReport, portName, message) == 0);
    }
    FUZZ_CHECK(strcmp(message, "Done") == 0);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setenv("TZ", "UTC", 1);
    dvfuzz::isolate();
    dvSetClock(&fixedClock);
    char message[DV_MESSAGE_SIZE];
    char port[] = "fuzz";
    if (linkora.initialize(&ignoreReport, port, message) != 0 || !fakelink_link_open()) {
        fprintf(stderr, "fuzz_answer: the stand-in liblinkora.so.1 was not loaded: %s\n", message);
        abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxInput)
        return 0;
    dvfuzz::Input in(data, size);
    const int selector = in.byte() % 15;
    const int a = in.int32();
    const int b = in.int32();
    const std::string idBytes = in.bytes(in.byte() % 80);
    const std::string answer = in.rest();

    std::unique_ptr<char[]> id = dvfuzz::cText(reinterpret_cast<const uint8_t*>(idBytes.data()), idBytes.size());
    const std::string idText = id.get(); // as far as a C text goes
    const std::string tail = idText.empty() ? std::string() : FS + idText;
    std::unique_ptr<char[]> message(new char[DV_MESSAGE_SIZE]);
    char* msg = message.get();
    fakelink_set_answer(answer.data(), answer.size());

    if (selector == 14) {
        reinitialise(static_cast<short>(a % 10), answer, idText.empty() ? nullptr : id.get(), msg);
        return 0;
    }

    const long before = fakelink_command_count();
    std::string expected;
    short status = 0;
    switch (selector) {
    case 0:
        status = linkora.login(static_cast<short>(a), static_cast<short>(b), msg);
        expected = "a" + strFS + fixed(static_cast<short>(a), 2) + strFS + fixed(static_cast<short>(b), 2) + strFS +
                   "0905";
        break;
    case 1: status = linkora.logout(msg); expected = "b"; break;
    case 2:
        status = linkora.dispense(a, id.get(), msg);
        expected = "c" + strFS + padded(a, 8) + tail;
        break;
    case 3: status = linkora.askPayOut(a, msg); expected = "d" + strFS + fixed(a, 8); break;
    case 4:
        status = linkora.doPayOut(a, b, id.get(), msg);
        expected = "f" + strFS + padded(a, 8) + strFS + padded(b, 8) + tail;
        break;
    case 5: status = linkora.enablePayin(msg); expected = "h"; break;
    case 6: status = linkora.disablePayin(msg); expected = "g"; break;
    case 7: status = linkora.change(msg); expected = "e" + strFS + "1"; break;
    case 8: status = linkora.regretOne(msg); expected = "e" + strFS + "2"; break;
    case 9: status = linkora.reset(msg); expected = "e" + strFS + "3"; break;
    case 10: status = linkora.regretAll(msg); expected = "e" + strFS + "4"; break;
    case 11:
        status = linkora.regretAllSum(msg);
        expected = "f" + strFS + "00000000" + strFS + "00000000" + strFS + "regretAll";
        break;
    case 12: status = linkora.verifyDV(id.get(), msg); expected = "x" + strFS + idText; break;
    default: {
        char ans[DV_ANSWER_BUFFER];
        status = linkora.my_dv_002(id.get(), ans, msg);
        expected = idText;
        FUZZ_CHECK(memchr(ans, '\0', DV_ANSWER_SIZE) != nullptr);
        break;
    }
    }
    FUZZ_CHECK(fakelink_command_count() == before + 1);
    FUZZ_CHECK(lastCommand() == expected);
    const char* text = nullptr;
    FUZZ_CHECK(status == expectedStatus(answer, &text));
    FUZZ_CHECK(dvfuzz::terminatedWithin(msg, DV_MESSAGE_SIZE));
    FUZZ_CHECK(strcmp(msg, text) == 0);
    return 0;
}
