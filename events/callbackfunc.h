// callbackfunc: the report callback handed to the communication library.
//
// Runs on the library's thread for every report the device sends: parses it,
// records the session state the wait loops poll, logs it, and forwards events
// to the till. Always returns true; never throws.
#ifndef DV_EVENTS_CALLBACKFUNC_H
#define DV_EVENTS_CALLBACKFUNC_H

bool callbackfunc(unsigned char* report);

#endif
