/*
 * A stand-in communication library (liblinkora.so.1) that a program steers
 * directly: it answers every command with bytes the program chose and
 * delivers reports of any length on its own thread. The answer fuzzer uses
 * it to put arbitrary answers in front of the device link, and the
 * reliability tests to send reports longer than the simulator carries.
 *
 * A program links it (SONAME liblinkora.so.1), so that libdvlogics'
 * dlopen("liblinkora.so.1") finds this copy. Every function may be called
 * from any thread. Buffers are copied before a function returns.
 */
#ifndef DV_FUZZ_FAKELINKORA_H
#define DV_FUZZ_FAKELINKORA_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every later dv_002 writes these bytes into its answer buffer: at most 64
 * of them, followed by a NUL only when fewer than 64 were given. The default
 * answer is "??0". */
void fakelink_set_answer(const char* bytes, size_t size);

/* The next dv_initiate2 writes these bytes into its answer (as above) and
 * this result; the link opens only for result 0. Default: 0, "ok". */
void fakelink_set_initiate(short result, const char* bytes, size_t size);

/* Number of commands dv_002 received since the start. */
long fakelink_command_count(void);

/* Copies the last command (raw bytes, at most size - 1, then a NUL) and
 * returns its full length; -1 when there was none. */
long fakelink_last_command(char* buf, size_t size);

/* Queues a report of size bytes (a NUL is added; a NUL inside ends it as far
 * as the callback can tell). The link thread hands it to the callback from a
 * heap block of exactly size + 1 bytes. Returns 0, or -1 without a link. */
int fakelink_deliver(const char* bytes, size_t size);

/* Waits until every queued report was handed over and the callback
 * returned. Returns 0, or -1 when timeout_ms passed first. */
int fakelink_wait_idle(int timeout_ms);

/* 1 between a successful dv_initiate2 and dv_dini. */
int fakelink_link_open(void);

/* Reports handed to the callback since the start. */
long fakelink_delivered(void);

#ifdef __cplusplus
}
#endif

#endif
