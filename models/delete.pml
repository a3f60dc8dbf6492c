/* snapshot delete, with and without --even-if-in-use */

/* impl: SSnapshot::groupsToDispose CSnapshotDeletion::keepOthers */
#define IS_DISPOSABLE(r, g) (record[r].made[g] != NO && !HAS_OTHER_OWNER(r, g))

/* Of a record that no other host has, a deletion goes on without knowing.
 * impl: CCopyGuard::requireOwnImage CCopyGuard::requireKnown */
#ifdef WRONG_DELETE_DOES_NOT_LOOK
#define IS_REFUSED(r, g, seen) (false)
#else
#define IS_REFUSED(r, g, seen)                                                                                         \
    (IS_DISPOSABLE(r, g) && (IS_OTHERS(r, g, seen) || IS_DOUBTFUL(r, g, seen) && record[r].shared))
#endif

/* Nothing is sent that names an image which was not there: one that came since is another host's.
 * impl: CCopyGuard::requireOwnImage */
inline beginWith(g) {
    if
#ifndef WRONG_UNSEEN_IMAGE_IS_NAMED
    :: phase[g] == TO_BEGIN && seenImage[g] == NOBODY -> phase[g] = TO_GO_ON
#endif
    :: else
    fi
}

/* impl: deleteSnapshot CCatalog::take CSnapshotDeletion::run CSnapshotDeletion::guard */
inline beginDeletion() {
    before = record[r].state;
    record[r].state = DELETING;
    if
    :: KILLED -> rest(); goto idle
    :: true
    fi;
    phase[0] = (IS_DISPOSABLE(r, 0) -> TO_BEGIN : DONE);
    phase[1] = (IS_DISPOSABLE(r, 1) -> TO_BEGIN : DONE);
    if
    :: hasOverride = 1
    :: lookAtGroups();
       if
       :: IS_REFUSED(r, 0, seenImage[0]) || IS_REFUSED(r, 1, seenImage[1]) ->
           record[r].state = before;
           rest();
           goto idle
       :: else
       fi;
       beginWith(0);
       beginWith(1);
       forgetLook()
    fi;
    before = ABSENT
}

/* impl: CSnapshotDeletion::enterRemoved CCatalog::updateGroup */
inline enterRemoved(g) {
    record[r].made[g] = NO;
    record[r].isGone[g] = 0;
    enterCopy(r, g, NOT_ASKED);
    phase[g] = DONE
}

/* impl: CSnapshotDeletion::disposeOfAll workOn CCatalog::remove */
inline endDeletion() {
    if
    :: phase[0] == DONE && phase[1] == DONE -> removeRecord(r)
    :: else -> record[r].state = DELETE_FAILED
    fi;
    rest();
    goto idle
}

inline goOnDeleting() {
    do
    :: atomic { phase[0] == TO_BEGIN -> askToDeleteImage(0) }
    :: atomic { phase[1] == TO_BEGIN -> askToDeleteImage(1) }
    :: atomic { phase[0] == TO_GO_ON -> askToDeleteCheckpoint(0) }
    :: atomic { phase[1] == TO_GO_ON -> askToDeleteCheckpoint(1) }
    :: atomic { IS_ASKED(0) && IS_ASKED(1) && (phase[0] == TO_LOOK || phase[1] == TO_LOOK) ->
           LOOK_IF_ASKED(0);
           LOOK_IF_ASKED(1)
       }
    :: atomic { phase[0] == TO_ENTER -> enterRemoved(0) }
    :: atomic { phase[1] == TO_ENTER -> enterRemoved(1) }
    :: atomic { KILLED -> rest(); goto idle }
    :: atomic { IS_AT_END(0) && IS_AT_END(1) -> endDeletion() }
    od
}
