#define _GNU_SOURCE

#include "bench/tools/run_record.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum
{
    RECORD_SIZE = 128 * 1024
};

static const char* recordPath(void)
{
    return getenv("BENCH_RECORD");
}

int isRecorded(void)
{
    return recordPath() != NULL;
}

void recordRun(int argc, char** argv, const char* input, size_t size)
{
    if (!isRecorded()) return;
    static char text[RECORD_SIZE];
    size_t used = (size_t)snprintf(text, sizeof text, "run %d %zu\n", argc, size);
    for (int i = 0; i < argc && used < sizeof text; ++i) {
        used += (size_t)snprintf(text + used, sizeof text - used, "%s\n", argv[i]);
    }
    if (used + size > sizeof text) _exit(91);
    memcpy(text + used, input, size);
    used += size;
    const int file = open(recordPath(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0 || write(file, text, used) != (ssize_t)used) _exit(92);
    close(file);
}
