// A logged-in session in process, fed with a fixed mix of device reports:
// used by the report throughput benchmark and the memory harness.
#ifndef DV_BENCH_REPORTMIX_H
#define DV_BENCH_REPORTMIX_H

#include <cstddef>

namespace dvbench {

// Sets the session globals as a logged-in session with the default settings
// has them (ForwardCallbackChangeOnly 1, LoggSendEvents 1, LoggEveryCallback
// 0, all log filters on), registers the CountingTill's five callbacks and
// starts the logger afresh from the environment (DVLOGS).
void startReportSession();

// The reports of a sale as the device sends them: counting and crediting a
// note, a payout that starts, reports a rest, a low level and a session
// record, ends, and a capability answer. Consecutive reports always differ,
// also from the last to the first, so every one is logged and forwarded.
extern const char* const kReportMix[];
extern const size_t kReportMixSize;

// Hands the mix to callbackfunc one report at a time, round and round, from
// a writable copy as the communication library does.
class ReportFeeder {
public:
    ReportFeeder();
    void next();

private:
    size_t m_index = 0;
    size_t m_lengths[16];
    unsigned char m_buffer[64];
};

} // namespace dvbench

#endif
