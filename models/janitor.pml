/*
 * Whenever both hosts are at rest, releases and deletions that nothing disturbs, without an override, leave nothing: first where
 * the copies are, then on the other host, and once more where the first one was refused.
 */

inline giveGroupBack(which, g) {
    if
    :: IS_OWN(which, g, image[g]) -> deleteImage(which, g, false)
    :: else
    fi;
    enterCopy(which, g, NOT_ASKED)
}

inline giveBack(which) {
    if
    :: IS_IMPORTABLE(which) && IS_GIVEN_BACK(which, image[0], image[1]) ->
        giveGroupBack(which, 0);
        giveGroupBack(which, 1);
        record[which].state = COMPLETE
    :: else
    fi
}

inline tidyGroup(which, g) {
    if
    :: IS_DISPOSABLE(which, g) -> deleteImage(which, g, false); deleteCheckpoint(which, g)
    :: else
    fi
}

inline tidy(which) {
    if
    :: !IS_FREE(which) && !IS_REFUSED(which, 0, image[0]) && !IS_REFUSED(which, 1, image[1]) ->
        tidyGroup(which, 0);
        tidyGroup(which, 1);
        removeRecord(which)
    :: else
    fi
}

proctype Janitor() {
end:
    d_step {
        !isBusy[0] && !isBusy[1] ->
        isOver = 1;
        dropDocument();
        giveBack(0); giveBack(2);
        tidy(2); tidy(3); tidy(0); tidy(1);
        tidy(2); tidy(3);
        if
        :: MAY_BE_HALVES && image[0] != image[1] && image[0] != 0 && image[1] != 0 -> image[0] = 0; tidy(2); tidy(0); tidy(2)
        :: else
        fi;
        assert(IS_FREE(0) && IS_FREE(1) && IS_FREE(2) && IS_FREE(3));
        assert(checkpoint[0] == 0 && checkpoint[1] == 0 && image[0] == 0 && image[1] == 0)
    }
}
