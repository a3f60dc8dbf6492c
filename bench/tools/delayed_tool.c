/*
 * Stands before one of the appliance's tools and gives it the latency of an appliance that is far away or busy: waits
 * BENCH_DELAY_MS milliseconds, then becomes the tool of its own name in the folder "tools" beside it.
 *
 * BENCH_RECORD names a file to which every run is added before it waits (run_record.h): in the order in which they
 * began.
 */
#define _GNU_SOURCE

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include "bench/tools/run_record.h"

enum
{
    INPUT_SIZE = 64 * 1024,
    PATH_SIZE = 4096
};

/* Records the run with its input, and leaves the same input to the tool. */
static void recordWithInput(int argc, char** argv)
{
    static char input[INPUT_SIZE];
    size_t size = 0;
    ssize_t count;
    while ((count = read(STDIN_FILENO, input + size, sizeof input - size)) > 0) {
        size += (size_t)count;
    }
    if (count < 0 || size == sizeof input) _exit(94);
    recordRun(argc, argv, input, size);
    const int copy = memfd_create("input", 0);
    if (copy < 0 || write(copy, input, size) != (ssize_t)size || lseek(copy, 0, SEEK_SET) != 0) _exit(95);
    if (dup2(copy, STDIN_FILENO) < 0) _exit(96);
    close(copy);
}

static void waitAsTold(void)
{
    const char* const text = getenv("BENCH_DELAY_MS");
    const long milliseconds = text == NULL ? 0 : strtol(text, NULL, 10);
    if (milliseconds == 0) return;
    struct timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
        continue;
    }
}

int main(int argc, char** argv)
{
    if (isRecorded()) recordWithInput(argc, argv);
    waitAsTold();
    const char* const slash = strrchr(argv[0], '/');
    if (slash == NULL) return 97;
    char tool[PATH_SIZE];
    snprintf(tool, sizeof tool, "%.*stools/%s", (int)(slash - argv[0]) + 1, argv[0], slash + 1);
    execv(tool, argv);
    return 98;
}
