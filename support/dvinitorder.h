// Construction order of the library's global objects, lowest first; they are
// destroyed in the reverse order when the library is unloaded. The session
// object goes first (its destructor still logs and looks up texts), then the
// device link (which closes the log files), then the session's shared state,
// and last the logger and the language texts themselves.
#ifndef DV_SUPPORT_DVINITORDER_H
#define DV_SUPPORT_DVINITORDER_H

#define DV_INIT_SUPPORT __attribute__((init_priority(101)))
#define DV_INIT_SHARED_STATE __attribute__((init_priority(102)))
#define DV_INIT_LINK __attribute__((init_priority(103)))
#define DV_INIT_SESSION __attribute__((init_priority(104)))

#endif
