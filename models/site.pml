/* The appliance's groups, the catalogs, and the document that travels from one host to the other. */

#define HOSTS 2
#define GROUPS 2
#define SLOTS 2 /* names of snapshots; the first one may travel */
#define RECORDS 4

#define RECORD(host, slot) ((host) * SLOTS + (slot))
#define HOST_OF(r) ((r) / SLOTS)
#define IS_FREE(r) (record[r].state == ABSENT)

/* Whether a group has its checkpoint */
#define NO 0
#define YES 1
#define UNKNOWN 2

/* How much of a copy a record knows of */
#define NOT_ASKED 0
#define ASKED 1 /* its time image was asked for */
#define LOST 2  /* it was imported, and its path does not show it any more */
#define SHOWN 3

mtype = { ABSENT, CREATING, PARTIAL, FAILED, COMPLETE, IMPORTING, IMPORT_FAILED, IMPORTED, RELEASING, RELEASE_FAILED,
          DELETING, DELETE_FAILED };

typedef Record {
    mtype state = ABSENT;
    bit shared; /* exported, or received */
    byte made[GROUPS];
    byte copy[GROUPS];
    /* For the checks alone */
    byte maker;         /* which snapshot it is of: they all have one name */
    bit isGone[GROUPS]; /* its checkpoint was deleted by a command */
    bit isTaken[GROUPS]; /* its image was taken away by somebody who was told to, or could not know */
};

typedef Document {
    bit isThere;
    byte maker;
};

Record record[RECORDS];
Document document;

/* Of the one name that all checkpoints have, since each process id is used again. */
byte checkpoint[GROUPS]; /* its maker, 0 when there is none */
byte image[GROUPS];      /* the host that it is granted to, and 1; 0 when there is none */

bit isBusy[HOSTS];
bit isOver; /* the janitor has come */

#define OWNS(r, g) (!IS_FREE(r) && record[r].made[g] != NO && record[r].maker == checkpoint[g])
#define HOLDS(r, g) (!IS_FREE(r) && record[r].copy[g] == SHOWN && image[g] == HOST_OF(r) + 1)
#define IS_USED(m)                                                                                                     \
    (record[0].maker == (m) || record[1].maker == (m) || record[2].maker == (m) || record[3].maker == (m) ||           \
     document.maker == (m) || checkpoint[0] == (m) || checkpoint[1] == (m))

/* fictl may be killed wherever this stands. */
#define KILLED (true)
