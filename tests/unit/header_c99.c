/* The public header must compile as plain C99 with all warnings as errors. */
#include "dvlogics.h"

static void onStatus(int amount, short status, short mode) { (void)amount; (void)status; (void)mode; }
static void onError(int code, char* text, char* ext) { (void)code; (void)text; (void)ext; }
static void onLevel(long denomination, short numberOf, char* ext) { (void)denomination; (void)numberOf; (void)ext; }

int dvlogicsHeaderCheck(void);
int dvlogicsHeaderCheck(void)
{
    char message[DV_MESSAGE_SIZE];
    CStatusBackFunc s = onStatus;
    CErrorBackFunc e = onError;
    CCashLevelBackFunc l = onLevel;
    short (*init)(char*, char*, char*) = initDV;
    (void)init;
    (void)message;
    return s != 0 && e != 0 && l != 0 && DV_STATUS_NOT_SUPPORTED == 12;
}
