/* What a command gets to know of the groups: a look may find nothing out about one. */

#define NOBODY 0
#define NOT_KNOWN 3 /* whose image it is */

inline lookAt(g) {
    if
    :: seenCheckpoint[g] = (checkpoint[g] != 0 -> YES : NO); seenImage[g] = image[g]
    :: seenCheckpoint[g] = UNKNOWN; seenImage[g] = NOT_KNOWN
    fi
}

/* impl: CKnowledge::look CKnowledge::lookToSettle CInspector::look */
inline lookAtGroups() {
    lookAt(0);
    lookAt(1)
}

inline forgetLook() {
    seenCheckpoint[0] = NO;
    seenCheckpoint[1] = NO;
    seenImage[0] = NOBODY;
    seenImage[1] = NOBODY
}

/* Where the image cannot be looked at, a copy that was imported is known by its disk, or by the record where no other host
 * has one. impl: findImageOwner showsCopy ownerOfUnseen */
#ifdef WRONG_RECORD_IS_BELIEVED
#define IS_KNOWN_TO_SHOW(r, g) (record[r].copy[g] == SHOWN)
#else
#define IS_KNOWN_TO_SHOW(r, g) (record[r].copy[g] == SHOWN && (!record[r].shared || HOLDS(r, g)))
#endif
#define IS_OURS(r, g, seen)                                                                                            \
    ((seen) == NOT_KNOWN && IS_KNOWN_TO_SHOW(r, g) || record[r].copy[g] != NOT_ASKED && (seen) == HOST_OF(r) + 1)
#define IS_DOUBTFUL(r, g, seen) ((seen) == NOT_KNOWN && !IS_KNOWN_TO_SHOW(r, g))
#define IS_OTHERS(r, g, seen) ((seen) != NOBODY && (seen) != NOT_KNOWN && !IS_OURS(r, g, seen))

/* A record of the same catalog that owns the group's checkpoint of that name. impl: CCatalog::otherOwner */
#define HAS_OTHER_OWNER(r, g) (!IS_FREE((r) ^ 1) && record[(r) ^ 1].made[g] == YES)
