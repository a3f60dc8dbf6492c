/*
 * Stands for the appliance's shell and for the disk utility: answers from a scenario and writes down what it was sent.
 *
 * FAKE_TOOL_SCENARIO names the scenario, a file of entries, each one of these lines in this order:
 *
 *   when TEXT        the request holds TEXT ("" when left out: any), and that of further such lines; a request is the
 *                    arguments and standard input
 *   times N          only the first N requests that hold it
 *   delay MS         wait; what was written before it is there to be read
 *   output           the lines up to one that is "." are written
 *   file PATH        the bytes of the file are written
 *   repeat N TEXT    the text is written N times, each with a newline; "%d" in it is the number of the line
 *   signal N         end by that signal
 *   exit N           end with that status; closes the entry, as "signal" does
 *
 * The first entry that fits is the answer; without one the tool ends with 99. Requests are appended to SCENARIO.sent as
 * "=== NAME [ARG]...", a newline and standard input, byte for byte.
 */
#define _POSIX_C_SOURCE 200809L

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

enum
{
    REQUEST_SIZE = 1 << 20,
    LINE_SIZE = 4096
};

static char request[REQUEST_SIZE];
static size_t request_size;
static const char* scenario;

static void add(const char* text)
{
    const size_t size = strlen(text);
    if (request_size + size >= REQUEST_SIZE) exit(98);
    memcpy(request + request_size, text, size + 1);
    request_size += size;
}

static void read_request(int argc, char** argv)
{
    const char* name = strrchr(argv[0], '/');
    add("=== ");
    add(name == NULL ? argv[0] : name + 1);
    for (int i = 1; i < argc; ++i) {
        add(" [");
        add(argv[i]);
        add("]");
    }
    add("\n");
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, request + request_size, REQUEST_SIZE - 1 - request_size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        request_size += (size_t)got;
    }
    request[request_size] = '\0';
}

static void append(const char* suffix, const char* bytes, size_t size)
{
    char path[LINE_SIZE];
    snprintf(path, sizeof path, "%s.%s", scenario, suffix);
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (file < 0 || write(file, bytes, size) != (ssize_t)size) exit(97);
    close(file);
}

/* How often the entry has been looked at for a request that it fits, this time included. */
static long count_use(int entry)
{
    char suffix[32];
    char path[LINE_SIZE];
    struct stat status;
    snprintf(suffix, sizeof suffix, "use%d", entry);
    append(suffix, "x", 1);
    snprintf(path, sizeof path, "%s.%s", scenario, suffix);
    return stat(path, &status) == 0 ? (long)status.st_size : 0;
}

static void copy_file(const char* path)
{
    char buffer[65536];
    FILE* file = fopen(path, "rb");
    if (file == NULL) exit(96);
    for (size_t size; (size = fread(buffer, 1, sizeof buffer, file)) > 0;) {
        if (fwrite(buffer, 1, size, stdout) != size) exit(95);
    }
    fclose(file);
}

static void copy_lines(FILE* file, int wanted)
{
    char line[LINE_SIZE];
    while (fgets(line, sizeof line, file) != NULL && strcmp(line, ".\n") != 0) {
        if (wanted) fputs(line, stdout);
    }
}

static void repeat(const char* words)
{
    char* text;
    const long count = strtol(words, &text, 10);
    const int has_number = strstr(text, "%d") != NULL;
    if (*text == ' ') ++text;
    const size_t front = has_number ? (size_t)(strstr(text, "%d") - text) : strlen(text);
    for (long i = 1; i <= count && !ferror(stdout); ++i) {
        fwrite(text, 1, front, stdout);
        if (has_number) printf("%ld%s", i, text + front + 2);
        putc('\n', stdout);
    }
}

static void wait_ms(long ms)
{
    fflush(stdout);
    const struct timespec pause = {ms / 1000, ms % 1000 * 1000000};
    nanosleep(&pause, NULL);
}

static int after(const char* line, const char* word, const char** rest)
{
    const size_t size = strlen(word);
    if (strncmp(line, word, size) != 0) return 0;
    *rest = line + size;
    return 1;
}

static int answer(FILE* file)
{
    char line[LINE_SIZE];
    const char* rest = NULL;
    int fits = 1;
    for (int entry = 0; fgets(line, sizeof line, file) != NULL;) {
        line[strcspn(line, "\n")] = '\0';
        if (after(line, "when ", &rest)) {
            fits = fits && strstr(request, rest) != NULL;
        } else if (after(line, "times ", &rest)) {
            fits = fits && count_use(entry) <= atol(rest);
        } else if (after(line, "delay ", &rest)) {
            if (fits) wait_ms(atol(rest));
        } else if (strcmp(line, "output") == 0) {
            copy_lines(file, fits);
        } else if (after(line, "file ", &rest)) {
            if (fits) copy_file(rest);
        } else if (after(line, "repeat ", &rest)) {
            if (fits) repeat(rest);
        } else if (after(line, "signal ", &rest)) {
            fflush(stdout);
            if (fits) raise(atoi(rest));
            fits = 1;
            ++entry;
        } else if (after(line, "exit ", &rest)) {
            if (fits) return atoi(rest);
            fits = 1;
            ++entry;
        }
    }
    return 99;
}

int main(int argc, char** argv)
{
    scenario = getenv("FAKE_TOOL_SCENARIO");
    FILE* file = scenario == NULL ? NULL : fopen(scenario, "r");
    if (file == NULL) return 94;
    read_request(argc, argv);
    append("sent", request, request_size);
    const int status = answer(file);
    return fflush(stdout) == 0 ? status : 93;
}
