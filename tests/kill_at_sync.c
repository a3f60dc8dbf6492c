/* Kills the program that it is loaded into around its n-th wait for stable storage, so that a test can end a run before
 * and after each change that was meant to last. Only the program that KILL_PROGRAM names is concerned, not what it
 * starts. KILL_AT is "before N" or "after N"; SYNC_COUNT names a file that gets one byte for each wait. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

static atomic_long g_count;

static int concerned(void)
{
    const char* const name = getenv("KILL_PROGRAM");
    return name != NULL && strcmp(name, program_invocation_short_name) == 0;
}

static void note(void)
{
    const char* const path = getenv("SYNC_COUNT");
    const int file = path == NULL ? -1 : open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) return;
    if (write(file, "s", 1) != 1) abort();
    close(file);
}

static void killAt(const char* when, long number)
{
    const char* const wanted = getenv("KILL_AT");
    const size_t length = strlen(when);
    if (wanted != NULL && strncmp(wanted, when, length) == 0 && wanted[length] == ' ' &&
        strtol(wanted + length, NULL, 10) == number) {
        raise(SIGKILL);
    }
}

static int synced(long call, int file)
{
    if (!concerned()) return (int)syscall(call, file);
    const long number = atomic_fetch_add(&g_count, 1) + 1;
    note();
    killAt("before", number);
    const int result = (int)syscall(call, file);
    killAt("after", number);
    return result;
}

__attribute__((visibility("default"))) int fsync(int file);
int fsync(int file)
{
    return synced(SYS_fsync, file);
}

__attribute__((visibility("default"))) int fdatasync(int file);
int fdatasync(int file)
{
    return synced(SYS_fdatasync, file);
}
