/*
 * C functions of the framework runtime (libobzx_pdk.so), for hosts and providers. All may be called from any thread;
 * none throws. A null where an object is needed makes a function do nothing and return null, 0 or what its line says.
 */
#ifndef OBZX_RUNTIME_H
#define OBZX_RUNTIME_H

#include "framework/include/obz_records.h"
#include "framework/include/obzx_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A zeroed buffer that crosses the interface; null when there is no memory. A size of 0 gives a valid empty buffer. */
OBZX_API void* obzx_alloc_buf(size_t size);
/* Frees it. The size is the allocation's, or 0 where the caller does not know it. */
OBZX_API void obzx_free_buf(void* buffer, size_t size);

/* A new identity with a copy of the name: at most size bytes (NUL included; 0: all of it). Null for a null name or a
 * negative size, and when there is no memory. */
OBZX_API obzx_objid* obzx_get_objid(const char* name, int32_t size, int32_t type);
OBZX_API void obzx_free_objid(obzx_objid* identity);
/* Frees an array of identities as interpose, claim and make hand it out, and every identity in it. */
OBZX_API void obzx_free_objid_array(obzx_objid** identities, int32_t count);
/* 0 when both have the same type and name, else 1; two nulls, or two null names, are the same. */
OBZX_API int32_t obzx_objidcmp(const obzx_objid* a, const obzx_objid* b);

/* New list nodes with copies of all texts, next link null. Null without a name, and when there is no memory. A null
 * version counts as four zeroes, a null attribute as an empty text. */
OBZX_API obz_provider_list* obzx_build_providerlist_node(const char* name, int32_t kind, int32_t level,
                                                         const uint16_t version[4], const char* const* attributes,
                                                         int32_t attribute_count);
OBZX_API obz_fim_list* obzx_build_fim_list_node(const char* name, const char* version, const char* provider);
/* Free a list with all that its nodes hold. */
OBZX_API void obzx_free_provider_list(obz_provider_list* list);
OBZX_API void obzx_free_fim_list(obz_fim_list* list);

/* Frees what update_snapshot_handle put into the handle and empties it; the record itself is the caller's. */
OBZX_API void obzx_free_snaphandle(obz_snaphandle* handle);
/* Frees the texts of a list of parameters that config or the global configuration list handed out. */
OBZX_API void obzx_free_confspec(obz_confspec* list);

/* Where a path of this system lies on this host: below the directory that OBZX_ROOT names, or as it stands when that
 * is unset. A buffer for obzx_free_buf. */
OBZX_API char* obzx_place_path(const char* path);

/* A value of a component's configuration store (/etc/qz/<component>.conf below the root directory), read anew by each
 * call; null when it is not there or there is no memory. A buffer for obzx_free_buf. */
OBZX_API char* obzx_get_setting(const char* component, const char* section, const char* name);

/* Receives each trace line of every provider in the process whose level is at most the one asked for, in addition to
 * the trace file and whatever the file's own level: lines of one thread arrive in order, on that thread. Must not call
 * into a provider. */
typedef void (*obzx_trace_observer)(void* user, int32_t level, const char* component, const char* text);
/* One observer a process; a null function removes it, and returns once no call of it is running. */
OBZX_API void obzx_set_trace_observer(obzx_trace_observer observer, void* user, int32_t level);

/*
 * Run records: what the providers of this process have run, with which answer. A run is one call of the framework's
 * process runner (cfiexecpipe.h), also of one whose program cannot be started.
 */

typedef enum obzx_run_phase
{
    OBZX_RUN_STARTED = 1, /* the program runs */
    OBZX_RUN_ENDED = 2    /* the run is over, or there was no program to start */
} obzx_run_phase;

/* Why the runtime stopped a program before its end. */
typedef enum obzx_run_stop
{
    OBZX_RUN_NOT_STOPPED = 0,
    OBZX_RUN_STOPPED_BY_LIMIT = 1,  /* result 12 */
    OBZX_RUN_STOPPED_BY_CANCEL = 2, /* result 12 */
    OBZX_RUN_STOPPED_BY_OUTPUT = 3, /* result 13 */
    OBZX_RUN_UNUSED = 4 /* result 12; it was begun ahead, and its answer was not needed: stopped unless it had ended */
} obzx_run_stop;

/*
 * One run. All texts belong to the runtime and end with the observer's call; none is null. They are bytes in no
 * particular encoding.
 *
 * The record costs memory, and the run goes on without: a text that there is none for is "" with kept 0 (its size is
 * told all the same), and of the arguments the program alone is left.
 */
typedef struct obzx_run
{
    size_t size;     /* of this record in bytes: fields may be added behind the last one */
    uint64_t number; /* of the run among those of this process that were observed, from 1; the same in both calls */
    int32_t phase;   /* obzx_run_phase */
    const char* entry_point; /* during which it ran, without the provider's name ("init_altnode"); "" outside of one */
    /* The program first, a null behind the last. Of a command line that is none (a quote that is not closed, a NUL, no
     * word): the line as its only entry. */
    const char* const* arguments;
    int32_t argument_count; /* without the null */
    /* What the program could read on its standard input when it was started: the first 64 KiB of the file, a NUL behind
     * them. Nothing of what is no regular file or cannot be read. */
    const char* input;
    size_t input_kept;         /* bytes of that */
    uint64_t input_size;       /* bytes of the file; 0 when there is nothing of it */
    int64_t process;           /* process id, which is its group's too; 0 when it could not be started */
    int64_t start_seconds;     /* UTC, since 1970 */
    int32_t start_nanoseconds; /* 0 to 999999999 */
    uint64_t limit_seconds; /* the time-out that was in force: the least of the caller's, MAX_TIMEOUT, this process's */

    /* Of a run that has ended; all 0 and "" before. */
    int32_t result;      /* 0; 11 failed, was killed or could not be started; 12 stopped; 13 wrote too much */
    int32_t exit_status; /* of a program that exited, also when it was being stopped; else 0 */
    int32_t signal;      /* that ended it; else 0 */
    /* errno value: why it could not be started; ECHILD when its status is lost, as the host ignores SIGCHLD or waits
     * for any child; ENOMEM when the run ended for lack of memory, with nothing else known; else 0 */
    int32_t error;
    int32_t stopped;               /* obzx_run_stop */
    uint64_t duration_nanoseconds; /* of the whole run, on a clock that is not set */
    /* Standard output and standard error as they came: the first MiB, a NUL behind it; it may hold NULs itself. What is
     * written while a program is being stopped is not part of it. */
    const char* output;
    size_t output_kept;   /* bytes of that */
    uint64_t output_size; /* bytes of the whole output */
} obzx_run;

/*
 * Told about each run that begins while it is set: once when the program was started, once when the run has ended. Of a
 * program that could not be started only the end is told. Both calls come from the thread that runs the program; those
 * of different threads come side by side. A thread may begin runs ahead of the one whose answer it waits for: the end
 * of such a run is told when its answer is needed, or given up. At the end the program was waited for and its
 * descriptors are closed, so its process id may be another's by then; but one that the kernel holds even against
 * SIGKILL is given up after 10 s.
 *
 * The call is part of the run: while it lasts, the program is not watched and no time-out is kept (its time runs on
 * from the start, though). So it is to be quick, and may not run a program, call into a provider or end its thread. A
 * run of its own would not be told to it. What it throws goes no further. It may call any function of this header.
 */
typedef void (*obzx_run_observer)(void* context, const obzx_run* run);

/*
 * One observer a process; a null function removes it. An observer that is replaced or removed is not called again, not
 * for the end of a run whose start it was told either; its successor hears of runs that begin from now on. Returns once
 * no call of the former one is running, so the caller holds no lock that an observer takes. Inside an observer's call
 * it returns at once. Needs no memory, cannot fail.
 */
OBZX_API void obzx_set_run_observer(obzx_run_observer observer, void* context);

/*
 * Ends every program that runs for this process as a time-out would: SIGTERM to its group, SIGKILL 5 s later; result
 * 12, OBZX_RUN_STOPPED_BY_CANCEL. Returns at once; the threads that wait for the programs see to it. What is being
 * stopped already is not concerned, nor is a run that starts later: a run that begins at the same time is either one or
 * the other. May be called from a signal handler; keeps errno.
 */
OBZX_API void obzx_cancel_runs(void);

/* For an observer that was just told that a run has started: ends this run as obzx_cancel_runs would, and no other.
 * Does nothing anywhere else. */
OBZX_API void obzx_cancel_observed_run(void);

/* A time-out in seconds for every run of this process that starts from now on, also for those whose caller and
 * MAX_TIMEOUT would allow longer; 0 takes it away. */
OBZX_API void obzx_set_run_limit(uint64_t seconds);

#ifdef __cplusplus
}
#endif

#endif
