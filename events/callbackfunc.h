// callbackfunc: the report callback handed to the communication library.
//
// Runs on the library's thread for every report the device sends: parses it,
// records the session state the wait loops poll, logs it, and forwards events
// to the till. Always returns true; never throws.
#ifndef DV_EVENTS_CALLBACKFUNC_H
#define DV_EVENTS_CALLBACKFUNC_H

bool callbackfunc(unsigned char* report);

// Waits until no report is being handled on another thread (a till callback
// that called exitDV may still be running on the device thread), for at most
// timeoutMs. Returns the number still running when it gave up, else 0.
int waitForReportHandlers(int timeoutMs);

#endif
