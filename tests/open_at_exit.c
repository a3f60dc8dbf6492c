/* Tells which descriptors a program still holds when it ends by itself, so that a test can see what it has lost track
 * of. Only the program that OPEN_AT_EXIT_PROGRAM names is concerned, not what it starts. It leaves a file whose name is
 * OPEN_AT_EXIT, a point and its process id: a line for each descriptor but the three standard ones. */
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static void tell(FILE* report, DIR* open)
{
    for (const struct dirent* entry = readdir(open); entry != NULL; entry = readdir(open)) {
        const int number = atoi(entry->d_name);
        if (number <= STDERR_FILENO || number == dirfd(open) || number == fileno(report)) continue;
        char target[PATH_MAX] = "";
        if (readlinkat(dirfd(open), entry->d_name, target, sizeof target - 1) < 0) abort();
        fprintf(report, "%d %s\n", number, target);
    }
}

/* Loaded before everything else, so that what the other libraries close at their end is closed. */
__attribute__((destructor)) static void tellWhatIsOpen(void)
{
    const char* const program = getenv("OPEN_AT_EXIT_PROGRAM");
    const char* const prefix = getenv("OPEN_AT_EXIT");
    if (program == NULL || prefix == NULL || strcmp(program, program_invocation_short_name) != 0) return;
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s.%d", prefix, (int)getpid());
    FILE* const report = fopen(path, "w");
    DIR* const open = opendir("/proc/self/fd");
    if (report == NULL || open == NULL) abort();
    tell(report, open);
    closedir(open);
    if (fclose(report) != 0) abort();
}
