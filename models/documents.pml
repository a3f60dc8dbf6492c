/* snapshot export and snapshot receive. Only the first snapshot's name travels. */

#define IS_WHOLE(r)                                                                                                    \
    (record[r].state == COMPLETE || record[r].state == IMPORTED || record[r].state == IMPORT_FAILED ||                 \
     record[r].state == RELEASE_FAILED)

/* impl: exportSnapshot CCatalog::markExported writeDocument */
inline export() {
#ifndef WRONG_EXPORT_IS_NOT_REMEMBERED
    record[r].shared = 1;
#endif
    if
    :: KILLED
    :: document.isThere = 1; document.maker = record[r].maker
    fi;
    rest();
    goto idle
}

/* impl: receiveSnapshot requireNobodysCheckpoints requireWhatIsThere requireThere CCatalog::insert */
inline receive() {
    lookAtGroups();
    if
    :: HAS_OTHER_OWNER(r, 0) || HAS_OTHER_OWNER(r, 1) || seenCheckpoint[0] == NO || seenCheckpoint[1] == NO
    :: else ->
        record[r].state = COMPLETE;
        record[r].shared = 1;
        record[r].maker = document.maker;
        record[r].made[0] = YES;
        record[r].made[1] = YES;
        /* It may have been deleted while the document travelled, which a look that finds nothing out does not tell. */
        record[r].isGone[0] = (checkpoint[0] != document.maker);
        record[r].isGone[1] = (checkpoint[1] != document.maker)
    fi;
    rest();
    goto idle
}

inline dropDocument() {
    document.isThere = 0;
    document.maker = 0
}
