// Delivering device reports to the till's event callbacks.
//
// All four run on the device thread, one report at a time. A callback that
// is not registered is skipped; parsing and logging happen all the same.
// Each till call is counted in g_nInsideCallbackFunctions, so that the link
// is not unloaded under it, and no lock is held while the till runs.
#ifndef DV_EVENTS_DVEVENTS_H
#define DV_EVENTS_DVEVENTS_H

#include <string>

short sendStatusEvent(const int& amountOrRest, const int& status, const int& mode);
short sendErrorEvent(const std::string& tail);
short sendCashLevelEvent(const std::string& tail);
short sendCashSessionEvent(const std::string& tail);

// True when the level warning filter silences level events of this
// denomination today. The filter lists entries "yyyymmdd:denomination"
// separated by ','; an entry silences its denomination from its date on.
bool levelWarningFiltered(const std::string& filter, long denomination, const std::string& today);

#endif
