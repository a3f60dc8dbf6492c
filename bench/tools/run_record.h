#pragma once

#include <stddef.h>

/*
 * Where BENCH_RECORD names a file, adds one record of this run of a tool to it: "run <arguments> <bytes of input>",
 * each argument on a line of its own (the program as it was called first), and the input. A record is written at once,
 * so that runs side by side do not mix theirs. Without BENCH_RECORD it does nothing; a failure ends the tool.
 */
void recordRun(int argc, char** argv, const char* input, size_t size);
/* Whether it would do something. */
int isRecorded(void);
