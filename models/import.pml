/* snapshot import */

#define IS_IMPORTABLE(r)                                                                                               \
    (record[r].state == COMPLETE || record[r].state == IMPORT_FAILED || record[r].state == IMPORTING ||                \
     record[r].state == IMPORTED || record[r].state == RELEASING || record[r].state == RELEASE_FAILED)

#define WAS_IMPORTED(r, g) (record[r].copy[g] == LOST || record[r].copy[g] == SHOWN)

/* A release that was interrupted may have deleted images without recording it. impl: CSnapshotImport::forgetReleased */
inline forgetIfReleased(g) {
    if
    :: record[r].copy[g] != NOT_ASKED && seenImage[g] == NOBODY -> enterCopy(r, g, NOT_ASKED); isTouched = 1
    :: else
    fi
}

/* impl: CSnapshotImport::verifyCopies */
#define IS_LOST(g) (record[r].copy[g] == SHOWN && image[g] != host + 1)

/* The checkpoint is there, and so is the image of a copy that was imported, unless another host has it.
 * impl: CImportChecks::requireImage CImportChecks::requireCheckpoint CImportChecks::isImageThere */
#define IS_NEEDED(g) (record[r].copy[g] != SHOWN || isLost[g])
#ifdef WRONG_IMPORT_TAKES_OTHERS
#define IS_ELSEWHERE(g) (false)
#else
#define IS_ELSEWHERE(g) (seenImage[g] == 2 - host)
#endif
#define CANNOT_BE_HAD(g)                                                                                               \
    (IS_NEEDED(g) && (seenCheckpoint[g] == NO || WAS_IMPORTED(r, g) && seenImage[g] == NOBODY || IS_ELSEWHERE(g)))
#define IS_THERE(g) (WAS_IMPORTED(r, g) || seenImage[g] == 1 || seenImage[g] == 2)
#define BEGINS_WITH(g) (!IS_NEEDED(g) -> DONE : (IS_THERE(g) -> TO_ENTER : TO_BEGIN))
#define IS_RELEASED_IN_DOUBT(g) (wasReleased && record[r].copy[g] != NOT_ASKED && seenImage[g] == NOT_KNOWN)

/* A group that was not brought here keeps what is known of it; a refusal that touched nothing leaves the record as it was.
 * impl: workOn CCatalog::update */
inline failImport() {
    record[r].copy[0] = (isLost[0] -> LOST : record[r].copy[0]);
    record[r].copy[1] = (isLost[1] -> LOST : record[r].copy[1]);
    record[r].state = IMPORT_FAILED
}

inline endImport() {
    if
    :: phase[0] == DONE && phase[1] == DONE -> record[r].state = IMPORTED; rest(); goto idle
    :: IS_AT_END(0) && IS_AT_END(1) && (phase[0] == GAVE_UP || phase[1] == GAVE_UP) -> failImport(); rest(); goto idle
    :: else
    fi
}

/* impl: importSnapshot CCatalog::take CImportChecks::requireOwnCheckpoints CSnapshotImport::importGroups */
inline beginImport() {
    wasReleased = (record[r].state == RELEASING || record[r].state == RELEASE_FAILED);
    before = record[r].state;
    record[r].state = IMPORTING;
    if
    :: KILLED -> rest(); goto idle
    :: true
    fi;
    lookAtGroups();
    if
    :: IS_RELEASED_IN_DOUBT(0) || IS_RELEASED_IN_DOUBT(1) -> record[r].state = before; rest(); goto idle
    :: else
    fi;
    if
    :: wasReleased -> forgetIfReleased(0); forgetIfReleased(1)
    :: else
    fi;
    isLost[0] = IS_LOST(0);
    isLost[1] = IS_LOST(1);
    if
    :: CANNOT_BE_HAD(0) || CANNOT_BE_HAD(1) ->
        if
        :: isTouched -> failImport()
        :: else -> record[r].state = before
        fi;
        rest();
        goto idle
    :: else ->
        phase[0] = BEGINS_WITH(0);
        phase[1] = BEGINS_WITH(1);
        forgetLook();
        before = ABSENT;
        wasReleased = 0;
        isTouched = 0
    fi;
    endImport()
}

/* The first group decides which of two hosts that import at the same time goes on. impl: CGroupImport::run */
#define IS_ITS_TURN(g) (phase[g] == TO_BEGIN && ((g) == 0 || phase[0] != TO_BEGIN))
#define IS_DECISIVE(g) ((g) == 0 || phase[0] == DONE)

/* The appliance refuses to make an image that is there already, which may be so where the look found nothing out; then the
 * copy is taken up if it is granted to this host. When the first image cannot be had, no other one is asked for.
 * impl: CGroupImport::makeImage CGroupImport::noteAsked CCatalog::updateGroup CImporter::makeImage
 * impl: CCDPPlugin::importTarget */
inline askForImage(g) {
#ifndef WRONG_IMAGE_IS_NOT_ENTERED
    if
    :: record[r].copy[g] == NOT_ASKED -> enterCopy(r, g, ASKED)
    :: else
    fi;
#endif
    if
    :: KILLED -> rest(); goto idle
    :: true
    fi;
    if
    :: image[g] == 0 && checkpoint[g] != 0 -> image[g] = host + 1; phase[g] = TO_ENTER
    :: image[g] == 0 && checkpoint[g] != 0 -> image[g] = host + 1; phase[g] = GAVE_UP
    :: image[g] == host + 1 -> phase[g] = TO_ENTER
    :: phase[g] = GAVE_UP
    fi;
    if
    :: phase[g] == GAVE_UP && IS_DECISIVE(g) -> phase[0] = GAVE_UP; phase[1] = GAVE_UP
    :: else
    fi;
    endImport()
}

/* impl: CGroupImport::findCopy CImporter::findCopy CCatalog::updateDevice */
inline findCopy(g) {
    if
#ifdef WRONG_IMPORT_TAKES_OTHERS
    :: image[g] != 0 ->
#else
    :: image[g] == host + 1 ->
#endif
        enterCopy(r, g, SHOWN);
        isLost[g] = 0;
        phase[g] = DONE;
        if
        :: KILLED -> rest(); goto idle
        :: true
        fi
    :: phase[g] = GAVE_UP
    fi;
    endImport()
}

inline goOnImporting() {
    do
    :: atomic { IS_ITS_TURN(0) -> askForImage(0) }
    :: atomic { IS_ITS_TURN(1) -> askForImage(1) }
    :: atomic { phase[0] == TO_ENTER && phase[1] != TO_BEGIN -> findCopy(0) }
    :: atomic { phase[1] == TO_ENTER && phase[0] != TO_BEGIN && phase[0] != TO_ENTER -> findCopy(1) }
    :: atomic { KILLED -> rest(); goto idle }
    od
}
