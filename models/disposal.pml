/* The deletion of a group's time image, and then of its checkpoint. */

/* Where a group is in the work of a command */
#define TO_BEGIN 1
#define TO_GO_ON 2
#define TO_LOOK 3
#define TO_ENTER 4
#define DONE 5
#define GAVE_UP 6

#define IS_AT_END(g) (phase[g] == DONE || phase[g] == GAVE_UP)

/* The effects alone */
inline noteTaken(q, r, g) {
    if
    :: q != r && HOLDS(q, g) -> record[q].isTaken[g] = 1
    :: else
    fi
}

#define OTHERS_HOLD(r, g) (HOLDS(RECORD(1 - HOST_OF(r), 0), g))

inline deleteImage(r, g, isAllowed) {
    assert(isAllowed || !OTHERS_HOLD(r, g)); /* an image that a catalog holds as imported stays */
    noteTaken(0, r, g); noteTaken(2, r, g);
    image[g] = 0
}

inline noteGone(q, r, g) {
    if
    :: OWNS(q, g) -> record[q].isGone[g] = 1
    :: else
    fi
}

inline deleteCheckpoint(r, g) {
    if
    :: checkpoint[g] != 0 ->
        assert(OWNS(r, g)); /* another snapshot's checkpoint stays */
        noteGone(0, r, g); noteGone(1, r, g); noteGone(2, r, g); noteGone(3, r, g);
        checkpoint[g] = 0
    :: else
    fi
}

/* impl: CDisposals::run dispose CCDPPlugin::disposeDevice CLMRConsistencyGroup::deleteTimeImage */
inline askToDeleteImage(g) {
    if
    :: deleteImage(r, g, hasOverride)
    :: deleteImage(r, g, hasOverride);
       isDoubtful[g] = 1 /* done, and the answer was lost */
    :: isDoubtful[g] = 1
    fi;
    phase[g] = TO_GO_ON
}

/* The appliance keeps a checkpoint that an image is made of.
 * impl: dispose CLMRConsistencyGroup::deleteCheckPoint confirmsDeletion */
inline askToDeleteCheckpoint(g) {
    if
    :: image[g] == 0 -> deleteCheckpoint(r, g)
    :: image[g] == 0 -> deleteCheckpoint(r, g); isDoubtful[g] = 1
    :: isDoubtful[g] = 1
    fi;
#ifdef WRONG_STATUS_CONFIRMS
    isDoubtful[g] = 0;
#endif
    phase[g] = (isDoubtful[g] -> TO_LOOK : TO_ENTER);
    isDoubtful[g] = 0
}

/* One look serves all groups that the answers did not confirm, when all have been asked for.
 * impl: CDisposals::settle leftOf CKnowledge::lookToSettle */
#define IS_ASKED(g) (phase[g] != TO_BEGIN && phase[g] != TO_GO_ON)

inline lookWhatIsLeft(g) {
    if
    :: phase[g] = (checkpoint[g] == 0 && image[g] == 0 -> TO_ENTER : GAVE_UP)
    :: phase[g] = GAVE_UP
    fi
}

#define LOOK_IF_ASKED(g) if :: phase[g] == TO_LOOK -> lookWhatIsLeft(g) :: else fi
inline removeRecord(which) {
    record[which].state = ABSENT;
    record[which].shared = 0;
    record[which].maker = 0;
    record[which].made[0] = NO;
    record[which].made[1] = NO;
    record[which].copy[0] = NOT_ASKED;
    record[which].copy[1] = NOT_ASKED;
    record[which].isGone[0] = 0;
    record[which].isGone[1] = 0;
    record[which].isTaken[0] = 0;
    record[which].isTaken[1] = 0
}

inline enterCopy(which, g, what) {
    record[which].copy[g] = what;
    record[which].isTaken[g] = 0
}
