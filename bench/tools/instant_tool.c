/*
 * Stands for the appliance's shell and for the disk utility where only the caller's cost is of interest: answers at
 * once from prepared files, so that nearly all of a run is the start of the process.
 *
 * Answers lie in the folder "answers" beside the tool:
 *
 *   kforutil WORD: kforutil.WORD; once "kforutil discover" was run, kforutil.WORD.discovered where there is one.
 *
 *   lmsh, script on its input: SERVER.WORD_WORD.NAME, the words of the first command, and the last name in quotes.
 *
 * A request without a file is answered with nothing. The tool always succeeds.
 *
 * BENCH_RECORD names a file to which every run adds a record (run_record.h).
 */
#define _GNU_SOURCE

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include "bench/tools/run_record.h"

enum
{
    INPUT_SIZE = 64 * 1024,
    PATH_SIZE = 4096
};

static char g_input[INPUT_SIZE];
static size_t g_inputSize;

static void readInput(void)
{
    ssize_t count;
    while ((count = read(STDIN_FILENO, g_input + g_inputSize, INPUT_SIZE - 1 - g_inputSize)) > 0) {
        g_inputSize += (size_t)count;
    }
    g_input[g_inputSize] = '\0';
}

/* The words of a command joined by "_", a dot, and its last quoted name. Returns the end of the text. */
static char* addCommand(char* end, const char* command)
{
    const char* name = NULL;
    size_t nameSize = 0;
    int words = 0;
    const char* at = command;
    while (*at != '\0' && *at != '\n') {
        if (*at == ' ') {
            ++at;
        } else if (*at == '"') {
            name = ++at;
            while (*at != '\0' && *at != '"') {
                ++at;
            }
            nameSize = (size_t)(at - name);
            if (*at == '"') ++at;
        } else {
            if (words++ > 0) *end++ = '_';
            while (*at != '\0' && *at != '\n' && *at != ' ' && *at != '"') {
                *end++ = *at++;
            }
        }
    }
    *end++ = '.';
    memcpy(end, name == NULL ? "" : name, nameSize);
    return end + nameSize;
}

static void addScript(char* end)
{
    static const char SERVER[] = "server ";
    char* lineEnd = strchr(g_input, '\n');
    if (strncmp(g_input, SERVER, sizeof SERVER - 1) != 0 || lineEnd == NULL) _exit(93);
    char* const server = g_input + sizeof SERVER - 1;
    const size_t serverSize = (size_t)(lineEnd - server);
    memcpy(end, server, serverSize);
    end += serverSize;
    *end++ = '.';
    *addCommand(end, lineEnd + 1) = '\0';
}

static int openDisks(const char* folder, const char* word)
{
    char path[PATH_SIZE];
    snprintf(path, sizeof path, "%sdiscovered", folder);
    if (strcmp(word, "discover") == 0) {
        close(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        return -1;
    }
    int file = -1;
    if (access(path, F_OK) == 0) {
        snprintf(path, sizeof path, "%skforutil.%s.discovered", folder, word);
        file = open(path, O_RDONLY);
    }
    if (file >= 0) return file;
    snprintf(path, sizeof path, "%skforutil.%s", folder, word);
    return open(path, O_RDONLY);
}

static int openAnswer(int argc, char** argv)
{
    char folder[PATH_SIZE];
    const char* const slash = strrchr(argv[0], '/');
    const int length = slash == NULL ? 0 : (int)(slash - argv[0]) + 1;
    snprintf(folder, sizeof folder, "%.*sanswers/", length, argv[0]);
    if (argc > 1) return openDisks(folder, argv[1]);
    char path[PATH_SIZE + INPUT_SIZE];
    const size_t size = strlen(folder);
    memcpy(path, folder, size);
    addScript(path + size);
    return open(path, O_RDONLY);
}

int main(int argc, char** argv)
{
    if (argc == 1) readInput();
    recordRun(argc, argv, g_input, g_inputSize);
    const int answer = openAnswer(argc, argv);
    if (answer < 0) return 0;
    ssize_t sent;
    while ((sent = sendfile(STDOUT_FILENO, answer, NULL, 1 << 20)) > 0) {
        continue;
    }
    return sent < 0 ? 94 : 0;
}
