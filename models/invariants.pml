/* What holds after each step of anybody. */

/* A checkpoint belongs to a record; an image to one on the host that it is granted to, which knows that it was asked for. */
#define IS_ASKED_FOR_BY(r, g) (!IS_FREE(r) && record[r].made[g] != NO && record[r].copy[g] != NOT_ASKED)
#define IS_COVERED(g)                                                                                                  \
    ((checkpoint[g] == 0 || OWNS(0, g) || OWNS(1, g) || OWNS(2, g) || OWNS(3, g)) &&                                   \
     (image[g] != 1 || IS_ASKED_FOR_BY(0, g)) && (image[g] != 2 || IS_ASKED_FOR_BY(2, g)))

#define IS_SETTLED(r)                                                                                                  \
    (record[r].state == PARTIAL || record[r].state == COMPLETE || record[r].state == IMPORTED)
/* A settled record names the checkpoints that are there, but for those that a command has deleted. */
#define TELLS_CHECKPOINT(r, g)                                                                                         \
    (record[r].made[g] == UNKNOWN ||                                                                                   \
     record[r].made[g] == YES && (checkpoint[g] == record[r].maker || record[r].isGone[g]) ||                          \
     record[r].made[g] == NO && checkpoint[g] != record[r].maker)
/* The copies of an imported one show, unless somebody was told to take them away. */
#define TELLS_COPY(r, g) (record[r].state != IMPORTED || image[g] == HOST_OF(r) + 1 || record[r].isTaken[g])
#define IS_TRUE(r)                                                                                                     \
    (!IS_SETTLED(r) ||                                                                                                 \
     TELLS_CHECKPOINT(r, 0) && TELLS_CHECKPOINT(r, 1) && TELLS_COPY(r, 0) && TELLS_COPY(r, 1))

#define ALL_IS_COVERED (IS_COVERED(0) && IS_COVERED(1))
#define ALL_IS_TRUE (IS_TRUE(0) && IS_TRUE(1) && IS_TRUE(2) && IS_TRUE(3))

proctype Watcher() {
end:
    if
    :: atomic { !ALL_IS_COVERED -> assert(ALL_IS_COVERED) }
    :: atomic { !ALL_IS_TRUE -> assert(ALL_IS_TRUE) }
    fi
}
