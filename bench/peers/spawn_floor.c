/*
 * The least that running a list of programs can cost: posix_spawn, reading a pipe to its end, waitpid. Nothing is made
 * of the output.
 *
 *   spawn_floor LIST    each line of LIST: input file (/dev/null for none), program, arguments; separated by tabs
 *
 * Writes the seconds that the runs took together, and their number.
 */
#define _GNU_SOURCE

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum
{
    LINE_SIZE = 16 * 1024,
    MAX_WORDS = 16,
    BUFFER_SIZE = 64 * 1024
};

struct run
{
    char* words[MAX_WORDS + 1]; /* input file, program, arguments */
};

extern char** environ;

static void fail(const char* what)
{
    perror(what);
    exit(1);
}

static void run_one(const struct run* run)
{
    static char buffer[BUFFER_SIZE];
    int ends[2];
    const int input = open(run->words[0], O_RDONLY | O_CLOEXEC);
    if (input < 0 || pipe2(ends, O_CLOEXEC) != 0) fail(run->words[0]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    pid_t pid;
    errno = posix_spawn(&pid, run->words[1], &actions, NULL, (char* const*)&run->words[1], environ);
    if (errno != 0) fail(run->words[1]);
    posix_spawn_file_actions_destroy(&actions);
    close(input);
    close(ends[1]);
    while (read(ends[0], buffer, sizeof buffer) > 0) {
        continue;
    }
    close(ends[0]);
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || status != 0) fail(run->words[1]);
}

static size_t read_list(const char* path, struct run** runs)
{
    FILE* const file = fopen(path, "r");
    if (file == NULL) fail(path);
    size_t count = 0;
    char line[LINE_SIZE];
    while (fgets(line, sizeof line, file) != NULL) {
        line[strcspn(line, "\n")] = '\0';
        *runs = realloc(*runs, (count + 1) * sizeof(struct run));
        struct run* const run = &(*runs)[count++];
        memset(run, 0, sizeof *run);
        char* at = strdup(line);
        for (int word = 0; word < MAX_WORDS && at != NULL; ++word) {
            run->words[word] = strsep(&at, "\t");
        }
        if (run->words[1] == NULL) fail("a line without a program");
    }
    fclose(file);
    return count;
}

static double seconds(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec * 1e-9;
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: spawn_floor LIST\n");
        return 2;
    }
    struct run* runs = NULL;
    const size_t count = read_list(argv[1], &runs);
    const double start = seconds();
    for (size_t i = 0; i < count; ++i) {
        run_one(&runs[i]);
    }
    printf("%.9f %zu\n", seconds() - start, count);
    return 0;
}
