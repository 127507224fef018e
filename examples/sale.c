/*
 * sale.c - a minimal till: one cash sale through libdvlogics.
 *
 * The till registers its event callbacks, opens the device, logs in,
 * enables pay-in and waits for the customer's cash; then it keeps the
 * amount due and pays the change back, and closes again. It uses nothing
 * but <dvlogics.h>.
 *
 *     sale [AMOUNT_DUE [PORT]]      amount in cents (default 1250), port
 *                                   name (default /dev/ttyS0)
 *
 * Build it against the installed library:
 *
 *     cc -std=c99 sale.c $(pkg-config --cflags --libs dvlogics) -pthread -o sale
 *
 * Try it with the simulator: put the simulator's directory on the library
 * path, and be the customer through its control socket:
 *
 *     LD_LIBRARY_PATH=/usr/local/lib/dvlogics/sim DVSIM_SOCKET=/tmp/dv.sock ./sale 1250
 *     dvsim -s /tmp/dv.sock insert 2000          (from another terminal)
 */
#define _POSIX_C_SOURCE 200809L

#include <dvlogics.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

/* The events arrive on the device's thread: what the till keeps of them is
 * shared with the main thread under a lock. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static int paidIn = 0;
static int deviceStatus = -1;

static void onStatus(int amount, short status, short mode)
{
    pthread_mutex_lock(&lock);
    paidIn = amount;
    deviceStatus = status;
    pthread_mutex_unlock(&lock);
    printf("  event: paid in %d, status %d, mode %d\n", amount, status, mode);
}

static void onError(int code, char* text, char* extInfo)
{
    (void)extInfo;
    printf("  event: device error %d: %s\n", code, text);
}

static void onLevel(long denomination, short numberOf, char* extInfo)
{
    (void)extInfo;
    printf("  event: %ld running low, %d left\n", denomination, numberOf);
}

/* Prints a call's result; true when it is DV_STATUS_OK. */
static int done(const char* call, short status, const char* message)
{
    printf("%-16s %2d  %s\n", call, status, message);
    return status == DV_STATUS_OK;
}

int main(int argc, char** argv)
{
    char message[DV_MESSAGE_SIZE];
    char port[128];
    char settings[] = "PayOutOkCheck:1"; /* payoutDV returns when the change is out */
    char transaction[] = "T-1001";
    const int due = argc > 1 ? atoi(argv[1]) : 1250;
    const struct timespec tenth = {0, 100000000L};
    int paid = 0, status = -1, ok, tries;

    setvbuf(stdout, NULL, _IOLBF, 0);
    snprintf(port, sizeof port, "Type:RS232;Name:%s", argc > 2 ? argv[2] : "/dev/ttyS0");
    if (due <= 0) {
        fprintf(stderr, "usage: sale [AMOUNT_DUE [PORT]]\n");
        return 2;
    }

    registerEventsDV(onStatus, onError, onLevel, message);
    if (!done("initDV", initDV(port, settings, message), message))
        return 1;
    ok = done("loginDV", loginDV(1, 7, message), message) &&
         done("enablePayinDV", enablePayinDV(message), message);

    /* The customer pays; the status events count the money. */
    if (ok)
        printf("waiting for %d.%02d\n", due / 100, due % 100);
    for (tries = 0; ok && tries < 600; ++tries) {
        pthread_mutex_lock(&lock);
        paid = paidIn;
        status = deviceStatus;
        pthread_mutex_unlock(&lock);
        if (paid >= due && status == 0) /* paid, and the device counted it all */
            break;
        nanosleep(&tenth, NULL);
    }

    if (ok && paid >= due) {
        /* Keep the amount due, pay the rest back. */
        ok = done("payoutDV", payoutDV(paid - due, due, transaction, message), message);
        if (ok)
            printf("sale %d.%02d, paid %d.%02d, change %d.%02d\n", due / 100, due % 100, paid / 100, paid % 100,
                   (paid - due) / 100, (paid - due) % 100);
    } else if (ok) {
        printf("the customer did not pay enough: giving back %d\n", paid);
        done("regretDV", regretDV(1, message), message);
        ok = 0;
    }

    ok = done("disablePayinDV", disablePayinDV(message), message) && ok;
    ok = done("logoutDV", logoutDV(message), message) && ok;
    ok = done("exitDV", exitDV(message), message) && ok;
    return ok ? 0 : 1;
}
