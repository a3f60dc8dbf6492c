/* snapshot release */

/* What is not known to be this record's is not given back; of what is another host's this host's own parts are.
 * impl: CSnapshotRelease::run CSnapshotRelease::requireInspection CCopyGuard::requireOwner CCopyGuard::requireKnown
 * impl: CSnapshotRelease::keepForeign */
#define IS_FOREIGN(r, g, seen) IS_OTHERS(r, g, seen)
#define IS_OWN(r, g, seen) ((seen) != NOBODY && !IS_FOREIGN(r, g, seen))
#define IS_GIVEN_BACK(r, seen0, seen1)                                                                                 \
    ((seen0) != NOT_KNOWN && (seen1) != NOT_KNOWN &&                                                                   \
     (!IS_FOREIGN(r, 0, seen0) && !IS_FOREIGN(r, 1, seen1) || IS_OWN(r, 0, seen0) || IS_OWN(r, 1, seen1)))

/* impl: releaseSnapshot CCatalog::take */
inline beginRelease() {
    before = record[r].state;
    record[r].state = RELEASING;
    if
    :: KILLED -> rest(); goto idle
    :: true
    fi;
    lookAtGroups();
    if
    :: !IS_GIVEN_BACK(r, seenImage[0], seenImage[1]) -> record[r].state = before; rest(); goto idle
    :: else ->
        phase[0] = (IS_OWN(r, 0, seenImage[0]) -> TO_BEGIN : TO_ENTER);
        phase[1] = (IS_OWN(r, 1, seenImage[1]) -> TO_BEGIN : TO_ENTER)
    fi;
    forgetLook();
    before = ABSENT
}

/* impl: CSnapshotRelease::releaseGroup CInspector::release releaseImage */
inline askToReleaseImage(g) {
#ifdef WRONG_RELEASE_FORGETS_FIRST
    enterCopy(r, g, NOT_ASKED);
#endif
    if
    :: deleteImage(r, g, false)
    :: true
    fi;
    phase[g] = TO_LOOK
}

/* impl: whyNotGone */
inline lookForImage(g) {
    if
    :: phase[g] = (image[g] == 0 -> TO_ENTER : GAVE_UP)
    :: phase[g] = GAVE_UP
    fi
}

/* impl: CSnapshotRelease::enterReleased SDevice::forgetCopy */
inline enterReleased(g) {
    enterCopy(r, g, NOT_ASKED);
    phase[g] = DONE
}

/* impl: workOn */
inline endRelease() {
    record[r].state = (phase[0] == DONE && phase[1] == DONE -> COMPLETE : RELEASE_FAILED);
    rest();
    goto idle
}

inline goOnReleasing() {
    do
    :: atomic { phase[0] == TO_BEGIN -> askToReleaseImage(0) }
    :: atomic { phase[1] == TO_BEGIN -> askToReleaseImage(1) }
    :: atomic { phase[0] == TO_LOOK -> lookForImage(0) }
    :: atomic { phase[1] == TO_LOOK -> lookForImage(1) }
    :: atomic { phase[0] == TO_ENTER -> enterReleased(0) }
    :: atomic { phase[1] == TO_ENTER -> enterReleased(1) }
    :: atomic { KILLED -> rest(); goto idle }
    :: atomic { IS_AT_END(0) && IS_AT_END(1) -> endRelease() }
    od
}
