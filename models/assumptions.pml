/*
 * What the programs depend on and cannot see to themselves. Each one stands in docs/reliability.md; with its LIMIT_... set
 * it is lifted, and the checks must find what can come of it then.
 */

/* A checkpoint's name holds nothing but a process id. So none is made under a name that the other host has a record of, or a
 * document, while the appliance has no such checkpoint; and fictl is not killed before it has entered what it was told of a
 * name that the other host has taken. Where it can be looked at, the instant at which it
 * was made tells two checkpoints apart; else nobody can. */
#ifdef LIMIT_NAMES
#define MAY_BE_MADE (true)
#define MAY_BE_KILLED (true)
#else
#define MAY_BE_MADE (!document.isThere && IS_FREE(RECORD(1 - host, 0)) && IS_FREE(RECORD(1 - host, 1)))
#define IS_TAKEN(g) (checkpoint[g] != 0 && checkpoint[g] != record[r].maker)
#define MAY_BE_KILLED (!IS_TAKEN(0) && !IS_TAKEN(1))
#endif

/* The appliance's refusal of a name that is taken is heard when nothing could be looked at before, or the name was taken
 * since. */
#ifdef LIMIT_REFUSALS
#define MAY_BE_UNHEARD (true)
#else
#define MAY_BE_UNHEARD (false)
#endif

/* Two hosts do not each keep a copy of another group while both have begun to delete the snapshot, and been stopped: what is
 * being deleted is not released any more, so that one of them needs an override. */
#ifdef LIMIT_HALVES
#define MAY_BE_HALVES (false)
#else
#define IS_BEING_DELETED(r) (record[r].state == DELETING || record[r].state == DELETE_FAILED)
#define MAY_BE_HALVES (IS_BEING_DELETED(0) && IS_BEING_DELETED(2))
#endif
