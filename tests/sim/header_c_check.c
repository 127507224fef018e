/* dvsim.h must compile as plain C (C99, warnings as errors). */
#include "dvsim.h"

int dvsim_header_is_c(void);

int dvsim_header_is_c(void)
{
    dvsim_status s;
    dvsim_inventory inv;
    bool (*cb)(unsigned char *) = 0;
    (void)cb;
    inv.count = 0;
    s.status = DVSIM_ANSWER_BUSY + DVSIM_AT_INSERT + DVSIM_PROFILE_FAST + DVSIM_SESSION_INFO;
    return s.status + (int)inv.count + (int)sizeof(dvsim_denomination);
}
