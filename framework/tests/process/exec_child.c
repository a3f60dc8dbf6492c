/* The programs that the tests of the process runner start, one for each case: exec_child CASE [ARGUMENT...] */
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

extern char** environ;

static void waitForEver(void)
{
    for (;;) {
        pause();
    }
}

/* Writes so many MiB of one letter. */
static int flood(const char* megabytes, int lineLength)
{
    static char block[1024 * 1024];
    memset(block, 'x', sizeof block);
    for (size_t i = (size_t)lineLength - 1; lineLength > 0 && i < sizeof block; i += (size_t)lineLength) {
        block[i] = '\n';
    }
    for (int i = atoi(megabytes); i > 0; --i) {
        for (size_t done = 0; done < sizeof block;) {
            const ssize_t count = write(STDOUT_FILENO, block + done, sizeof block - done);
            if (count < 0) return 9;
            done += (size_t)count;
        }
    }
    return 0;
}

static int dieBy(int number)
{
    const struct rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    raise(number);
    return 9;
}

static int listDescriptors(void)
{
    DIR* folder = opendir("/proc/self/fd");
    for (struct dirent* entry; (entry = readdir(folder)) != NULL;) {
        const int number = atoi(entry->d_name);
        if (entry->d_name[0] != '.' && number != dirfd(folder)) printf("%d\n", number);
    }
    closedir(folder);
    return 0;
}

static int showSignals(void)
{
    int ignored = 0, blocked = 0;
    sigset_t mask;
    sigprocmask(SIG_SETMASK, NULL, &mask);
    for (int number = 1; number < 65; ++number) {
        struct sigaction action;
        if (sigaction(number, NULL, &action) == 0 && action.sa_handler != SIG_DFL) ++ignored;
        if (sigismember(&mask, number) == 1) ++blocked;
    }
    printf("%d not at default, %d blocked\n", ignored, blocked);
    return 0;
}

/* Leaves somebody behind who holds the output; prints his process id. */
static int leaveGrandchild(int exitStatus, int stubborn)
{
    const pid_t grandchild = fork();
    if (grandchild == 0) {
        if (stubborn) signal(SIGTERM, SIG_IGN);
        alarm(60);
        waitForEver();
    }
    printf("%d\n", (int)grandchild);
    fflush(stdout);
    if (exitStatus < 0) waitForEver();
    return exitStatus;
}

static int copyInput(void)
{
    for (int c; (c = getchar()) != EOF;) {
        putchar(c);
    }
    return 0;
}

static int interleave(void)
{
    setvbuf(stdout, NULL, _IONBF, 0);
    fputs("out 1\n", stdout);
    fputs("err 1\n", stderr);
    fputs("out 2\n", stdout);
    fputs("err 2\n", stderr);
    return 0;
}

static int closeOutputAndGoOn(const char* exitStatus)
{
    puts("before");
    fclose(stdout);
    close(STDERR_FILENO);
    usleep(100 * 1000);
    return atoi(exitStatus);
}

int main(int count, char** words)
{
    const char* name = count > 1 ? words[1] : "";
    const char* argument = count > 2 ? words[2] : "0";
    if (strcmp(name, "exit") == 0) return atoi(argument);
    if (strcmp(name, "die") == 0) return dieBy(atoi(argument));
    if (strcmp(name, "flood") == 0) return flood(argument, 0);
    if (strcmp(name, "flood-lines") == 0) return flood(argument, 2);
    if (strcmp(name, "copy") == 0) return copyInput();
    if (strcmp(name, "no-read") == 0) return puts("done") < 0;
    if (strcmp(name, "close") == 0) return closeOutputAndGoOn(argument);
    if (strcmp(name, "both") == 0) return interleave();
    if (strcmp(name, "nul") == 0) return fwrite("a\0b\nc\r\n\0", 1, 8, stdout) != 8;
    if (strcmp(name, "descriptors") == 0) return listDescriptors();
    if (strcmp(name, "signals") == 0) return showSignals();
    if (strcmp(name, "group") == 0) return printf("%s\n", getpgrp() == getpid() ? "leader" : "member") < 0;
    if (strcmp(name, "directory") == 0) return puts(getcwd(NULL, 0)) < 0;
    if (strcmp(name, "grandchild") == 0) return leaveGrandchild(atoi(argument), 0);
    if (strcmp(name, "stubborn-grandchild") == 0) return leaveGrandchild(-1, 1);
    if (strcmp(name, "environment") == 0) {
        for (char** variable = environ; *variable != NULL; ++variable) {
            puts(*variable);
        }
        return 0;
    }
    if (strcmp(name, "arguments") == 0) {
        for (int i = 2; i < count; ++i) {
            printf("[%s]\n", words[i]);
        }
        return 0;
    }
    if (strcmp(name, "hang") == 0 || strcmp(name, "stubborn") == 0) {
        if (strcmp(name, "stubborn") == 0) signal(SIGTERM, SIG_IGN);
        printf("%d\n", (int)getpid());
        fflush(stdout);
        alarm(60);
        waitForEver();
    }
    return 99;
}
