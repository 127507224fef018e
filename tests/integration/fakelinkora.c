/* Stand-ins for a broken or unusual communication library, built in several
 * variants (see CMakeLists.txt):
 *   FAKE_NO_DV002        lacks dv_002
 *   FAKE_INIT_RESULT=n   dv_initiate2 fails with result n and an answer text
 * Every variant records whether dv_initiate2 got a null port name in the
 * file named by FAKE_RECORD (if set). */
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORT __attribute__((visibility("default")))

EXPORT void dv_initiate2(bool (*callback)(unsigned char*), char* portName, char* ans, short* result)
{
    (void)callback;
    const char* record = getenv("FAKE_RECORD");
    if (record) {
        FILE* f = fopen(record, "w");
        if (f) {
            fputs(portName ? portName : "(null)", f);
            fclose(f);
        }
    }
#ifdef FAKE_INIT_RESULT
    strcpy(ans, "port busy %s%n 100%%");
    *result = FAKE_INIT_RESULT;
#else
    strcpy(ans, "ok");
    *result = 0;
#endif
}

#ifndef FAKE_NO_DV002
EXPORT void dv_002(char* req, char* ans)
{
    (void)req;
    strcpy(ans, "??0");
}
#endif

EXPORT void dv_dini(void) {}
