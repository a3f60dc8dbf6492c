/* A host: an administrator gives any command that makes sense, again and again. */

#ifdef SECOND_HERE
#define HAS_SECOND(host) ((host) == 0)
#else
#ifdef SECOND_THERE
#define HAS_SECOND(host) ((host) == 1)
#else
#define HAS_SECOND(host) (false)
#endif
#endif

#ifndef WRONG_CARRIER_IS_NOT_ASKED
#define MAY_CREATE(r) (IS_FREE((r) ^ 1))
#else
#define MAY_CREATE(r) (true)
#endif

#ifdef IN_TURN
#define MAY_BEGIN (!isBusy[1 - host])
#else
#define MAY_BEGIN (true)
#endif

/* What a command knows goes with it. */
inline rest() {
  d_step {
    r = 0;
    phase[0] = 0; phase[1] = 0;
    forgetLook();
    isDoubtful[0] = 0; isDoubtful[1] = 0;
    isLost[0] = 0; isLost[1] = 0;
    hasLooked = 0; hasOverride = 0; isTouched = 0; wasReleased = 0;
    before = ABSENT;
    isBusy[host] = 0
  }
}

proctype Host(byte host) {
    byte r;
    byte phase[GROUPS];
    byte seenCheckpoint[GROUPS]; /* of the moment of a look alone, like those of a byte below */
    byte seenImage[GROUPS];
    mtype before = ABSENT;
    bit wasReleased;
    bit isTouched;
    bit isDoubtful[GROUPS];
    bit isLost[GROUPS];
    bit hasLooked;
    bit hasOverride;

end:
idle:
    atomic {
        !isOver && MAY_BEGIN ->
        if
        :: r = RECORD(host, 0)
        :: HAS_SECOND(host) -> r = RECORD(host, 1)
        fi;
        isBusy[host] = 1;
        if
        :: IS_FREE(r) && (host == 0 || r == RECORD(host, 1)) && MAY_CREATE(r) -> beginCreation(); goto creating
        :: IS_FREE(r) && r == RECORD(1, 0) && document.isThere -> receive()
        :: r == RECORD(host, 0) && IS_WHOLE(r) -> export()
        :: r == RECORD(host, 0) && IS_IMPORTABLE(r) && !HAS_OTHER_OWNER(r, 0) && !HAS_OTHER_OWNER(r, 1) ->
            beginImport();
            goto importing
        :: r == RECORD(host, 0) && IS_IMPORTABLE(r) -> beginRelease(); goto releasing
        :: !IS_FREE(r) -> beginDeletion(); goto deleting
        :: document.isThere -> dropDocument(); rest(); goto idle
        :: rest(); goto idle
        fi
    };
creating:
    goOnCreating();
importing:
    goOnImporting();
releasing:
    goOnReleasing();
deleting:
    goOnDeleting()
}
