/*
 * dvsim - sends one control command to a running device simulator.
 *
 *   dvsim [-s SOCKET] COMMAND [ARG...]     e.g. dvsim insert 2000
 *   dvsim [-s SOCKET] -                    one command per line from stdin
 *
 * The socket path comes from -s or from DVSIM_SOCKET. Each reply line is
 * printed as received. Exit status: 0 when every reply began with "ok",
 * 1 when a reply was an error, 2 for a usage or connection problem.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#define MAX_LINE 4096

static void usage(FILE *to)
{
    fputs("usage: dvsim [-s SOCKET] COMMAND [ARG...]\n"
          "       dvsim [-s SOCKET] -      (commands from standard input)\n"
          "The socket path defaults to $DVSIM_SOCKET. 'dvsim help' lists the commands.\n",
          to);
}

static int connect_to(const char *path)
{
    struct sockaddr_un addr;
    struct timeval tv = {70, 0}; /* 'idle' may wait up to 60 s */
    int fd;
    if (strlen(path) >= sizeof addr.sun_path) {
        fprintf(stderr, "dvsim: socket path too long\n");
        return -1;
    }
    fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0) {
        fprintf(stderr, "dvsim: socket: %s\n", strerror(errno));
        return -1;
    }
    memset(&addr, 0, sizeof addr);
    addr.sun_family = AF_UNIX;
    memcpy(addr.sun_path, path, strlen(path) + 1);
    if (connect(fd, (struct sockaddr *)&addr, sizeof addr) != 0) {
        fprintf(stderr, "dvsim: cannot connect to %s: %s\n", path, strerror(errno));
        close(fd);
        return -1;
    }
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    return fd;
}

static int send_all(int fd, const char *text, size_t len)
{
    while (len > 0) {
        ssize_t n = send(fd, text, len, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return -1;
        text += n;
        len -= (size_t)n;
    }
    return 0;
}

/* Reads one reply line into line (NUL-terminated, newline dropped). */
static int read_line(int fd, char *line, size_t size)
{
    size_t used = 0;
    for (;;) {
        char ch;
        ssize_t n = recv(fd, &ch, 1, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return used > 0 ? 0 : -1;
        if (ch == '\n')
            break;
        if (used + 1 < size)
            line[used++] = ch;
    }
    line[used] = '\0';
    return 0;
}

/* Sends one command line and prints the reply; returns 0 ok, 1 error, 2 failure. */
static int exchange(int fd, const char *command)
{
    char reply[MAX_LINE];
    if (send_all(fd, command, strlen(command)) != 0 || send_all(fd, "\n", 1) != 0) {
        fprintf(stderr, "dvsim: cannot send: %s\n", strerror(errno));
        return 2;
    }
    if (read_line(fd, reply, sizeof reply) != 0) {
        fprintf(stderr, "dvsim: no reply\n");
        return 2;
    }
    fputs(reply, stdout);
    fputc('\n', stdout);
    return strncmp(reply, "ok", 2) == 0 ? 0 : 1;
}

int main(int argc, char **argv)
{
    const char *path = getenv("DVSIM_SOCKET");
    char command[MAX_LINE];
    size_t used = 0;
    int first = 1, fd, rc = 0, i;

    if (argc > 2 && strcmp(argv[1], "-s") == 0) {
        path = argv[2];
        first = 3;
    }
    if (first >= argc || strcmp(argv[first], "-h") == 0 || strcmp(argv[first], "--help") == 0) {
        usage(first >= argc ? stderr : stdout);
        return first >= argc ? 2 : 0;
    }
    if (!path || !*path) {
        fprintf(stderr, "dvsim: no socket: give -s SOCKET or set DVSIM_SOCKET\n");
        return 2;
    }
    fd = connect_to(path);
    if (fd < 0)
        return 2;

    if (strcmp(argv[first], "-") == 0) {
        while (fgets(command, sizeof command, stdin)) {
            int r;
            command[strcspn(command, "\r\n")] = '\0';
            if (command[0] == '\0' || command[0] == '#')
                continue;
            r = exchange(fd, command);
            if (r > rc)
                rc = r;
            if (r == 2)
                break;
        }
    } else {
        command[0] = '\0';
        for (i = first; i < argc; ++i) {
            size_t len = strlen(argv[i]);
            if (used + len + 2 > sizeof command) {
                fprintf(stderr, "dvsim: command too long\n");
                close(fd);
                return 2;
            }
            if (used > 0)
                command[used++] = ' ';
            memcpy(command + used, argv[i], len);
            used += len;
            command[used] = '\0';
        }
        rc = exchange(fd, command);
    }
    close(fd);
    return rc;
}
