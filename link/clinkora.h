// CLinkora: the device link, one global instance `linkora`.
//
// The device is driven through its communication library, liblinkora.so.1,
// loaded at run time. Its whole interface is three C functions:
//
//   dv_initiate2(callback, portName, ans, &result)
//       Opens the port (portName may be null) and registers `callback`,
//       which the library then calls on its own thread for every report the
//       device sends. Writes a text into ans and a result, 0 on success.
//       May block while the port opens. Called once per initialisation.
//   dv_002(req, ans)
//       Sends the NUL-terminated command req and writes the device's
//       immediate answer into ans (at most 64 characters with the NUL). The
//       answer's third character is the answer code: '0' done, '1' busy,
//       '2' error, '3' closed. Returns quickly; the outcome of the command
//       arrives later as reports.
//   dv_dini()
//       Closes the link; no report arrives after it returns (unless it is
//       called from inside a report callback).
//
// CLinkora holds no lock. The command methods build the command strings;
// each returns 0 with "Done", or the answer's status (1, 2, 5, 7) with the
// answer's text.
#ifndef DV_LINK_CLINKORA_H
#define DV_LINK_CLINKORA_H

#include <atomic>
#include <string>

typedef bool (*callbfunc_type)(unsigned char* message);

// The file separator between the fields of a command.
const char FS = 0x1C;
extern const std::string strFS;

// Size of the answer buffers handed to the communication library. The
// library promises at most 64 characters; the rest is a safety margin, and
// answers are cut to 63 characters.
const int DV_ANSWER_SIZE = 64;
const int DV_ANSWER_BUFFER = 256;

// Calls dv_initiate2; returns its result.
short my_dv_initiate(callbfunc_type callback, char* portName, char* ans);

class CLinkora {
public:
    CLinkora();
    ~CLinkora();
    CLinkora(const CLinkora&) = delete;
    CLinkora& operator=(const CLinkora&) = delete;

    short loadTheComLibrary(char* message);
    short freeTheComLibrary(char* message);
    short initialize(callbfunc_type callback, char* portName, char* message);
    short my_dv_002(const char* req, char* ans, char* message);
    short my_dv_dini(char* message);
    short exit(char* message);

    // Device commands.
    short login(short cashRegId, short cashierId, char* message);
    short logout(char* message);
    short dispense(int amountDispense, const char* transactId, char* message);
    short askPayOut(int amountAsk, char* message);
    short doPayOut(int amountDispense, int amountDeposit, const char* transactId, char* message);
    short enablePayin(char* message);
    short disablePayin(char* message);
    short change(char* message);
    short regretOne(char* message);
    short reset(char* message);
    short regretAll(char* message);
    short regretAllSum(char* message);
    short verifyDV(const char* timestamp, char* message);

    bool isLoaded() const { return m_htoDll.load() != nullptr; }

private:
    // One exchange; "Done" in message on success. `ans` receives the answer.
    short exchange(const std::string& command, char* ans, char* message);
    // The same when the answer itself is not needed.
    short send(const std::string& command, char* message);

    std::atomic<void*> m_htoDll;
};

extern CLinkora linkora;

// "%02d" / "%08d" printed and cut to exactly width characters.
std::string dvFixedField(int value, int width);

#endif
