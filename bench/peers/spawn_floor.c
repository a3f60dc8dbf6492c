/*
 * The least that running a list of programs can cost: posix_spawn, reading a pipe to its end, waitpid. Nothing is made
 * of the output.
 *
 *   spawn_floor LIST             each line of LIST: input file (/dev/null for none), program, arguments; separated by
 * tabs spawn_floor --scripts LIST   the same, and each input is written to a private file before the run, opened for
 * it, and the file removed after it, as a plain program does that has the text in its memory
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
    BUFFER_SIZE = 64 * 1024,
    PATH_SIZE = 4096
};

struct run
{
    char* words[MAX_WORDS + 1]; /* input file, program, arguments */
    char* script;               /* what the input file holds, where scripts are written for each run; else NULL */
    size_t scriptSize;
};

extern char** environ;

static void fail(const char* what)
{
    perror(what);
    exit(1);
}

static void writeScript(const struct run* run, char* path)
{
    const char* const folder = getenv("TMPDIR");
    snprintf(path, PATH_SIZE, "%s/floorXXXXXX", folder == NULL ? "/tmp" : folder);
    const int file = mkostemp(path, O_CLOEXEC);
    if (file < 0 || write(file, run->script, run->scriptSize) != (ssize_t)run->scriptSize) fail(path);
    close(file);
}

static void runOne(const struct run* run, const char* inputPath)
{
    static char buffer[BUFFER_SIZE];
    int ends[2];
    const int input = open(inputPath, O_RDONLY | O_CLOEXEC);
    if (input < 0 || pipe2(ends, O_CLOEXEC) != 0) fail(inputPath);
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

static void runWithScript(const struct run* run)
{
    char path[PATH_SIZE];
    writeScript(run, path);
    runOne(run, path);
    if (unlink(path) != 0) fail(path);
}

static void readScript(struct run* run)
{
    if (strcmp(run->words[0], "/dev/null") == 0) return;
    const int file = open(run->words[0], O_RDONLY | O_CLOEXEC);
    run->script = malloc(LINE_SIZE);
    const ssize_t count = file < 0 || run->script == NULL ? -1 : read(file, run->script, LINE_SIZE);
    if (count < 0) fail(run->words[0]);
    run->scriptSize = (size_t)count;
    close(file);
}

static size_t readList(const char* path, struct run** runs)
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
    const int scripts = argc == 3 && strcmp(argv[1], "--scripts") == 0;
    if (argc != 2 && !scripts) {
        fprintf(stderr, "usage: spawn_floor [--scripts] LIST\n");
        return 2;
    }
    struct run* runs = NULL;
    const size_t count = readList(argv[argc - 1], &runs);
    for (size_t i = 0; scripts && i < count; ++i) {
        readScript(&runs[i]);
    }
    const double start = seconds();
    for (size_t i = 0; i < count; ++i) {
        if (runs[i].script != NULL) {
            runWithScript(&runs[i]);
        } else {
            runOne(&runs[i], runs[i].words[0]);
        }
    }
    printf("%.9f %zu\n", seconds() - start, count);
    return 0;
}
