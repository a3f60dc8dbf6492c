/* snapshot create */

/* What the provider said of a group, in place of its phase */
#define SAID_YES 7
#define SAID_NO 8 /* refused: the name is taken; or never asked */
#define SAID_NOTHING 9

#define IS_ANSWERED(g) (phase[g] >= SAID_YES)
#define MADE_OF(g) (phase[g] == SAID_YES -> YES : (phase[g] == SAID_NO -> NO : UNKNOWN))

/* impl: CSnapshotCreation::make CCatalog::insert */
inline enterIntent() {
    record[r].state = CREATING;
    record[r].made[0] = UNKNOWN;
    record[r].made[1] = UNKNOWN
}

/* Each snapshot gets an identity of its own, which the programs cannot see. */
inline chooseMaker() {
    if
    :: !IS_USED(1) -> record[r].maker = 1
    :: IS_USED(1) && !IS_USED(2) -> record[r].maker = 2
    :: else -> record[r].maker = 3 /* never more than two are in use then */
    fi
}

/* The name is made from the process id; one that a record of this catalog carries is not used, and none that a look finds on
 * the appliance.
 * impl: CSnapshotCreation::refuseEarly CCatalog::carrierOf CSnapshotCreation::lookBefore
 * impl: CSnapshotCreation::requireFreeName runInAnotherProcess CSnapshotMaker::run */
inline beginCreation() {
    lookAtGroups();
    hasLooked = (seenCheckpoint[0] != UNKNOWN && seenCheckpoint[1] != UNKNOWN);
    if
    :: seenCheckpoint[0] == YES || seenCheckpoint[1] == YES -> rest(); goto idle
    :: else ->
        forgetLook();
        chooseMaker();
#ifndef WRONG_RECORD_COMES_LATE
        enterIntent();
#endif
        /* Nothing was asked of the appliance: freezing failed, or a stop was asked for. */
        if
        :: removeRecord(r); rest(); goto idle
        :: true
        fi;
        phase[0] = TO_BEGIN;
        phase[1] = TO_BEGIN
    fi
}

inline make(g) {
    checkpoint[g] = record[r].maker
}

/* An appliance that says "done" without having done it is found out by the look that follows.
 * impl: CCDPPlugin::makeCheckPoint CSnapshotMaker::makeGroup saysAlreadyThere markUnanswered */
inline askForCheckpoint(g) {
    if
    :: checkpoint[g] == 0 && MAY_BE_MADE -> make(g); phase[g] = SAID_YES
    :: checkpoint[g] == 0 && MAY_BE_MADE -> make(g); phase[g] = SAID_NOTHING
    :: checkpoint[g] == 0 && hasLooked -> phase[g] = SAID_YES
    :: checkpoint[g] == 0 -> phase[g] = SAID_NOTHING
#ifdef WRONG_TAKEN_NAME_IS_OURS
    :: checkpoint[g] != 0 -> phase[g] = SAID_NOTHING
#endif
    :: checkpoint[g] != 0 && MAY_BE_UNHEARD -> phase[g] = SAID_NOTHING
    :: phase[g] = SAID_NO
    fi
}

/* impl: compareWithAppliances CKnowledge::lookForCheckpoints */
inline settleAnswer(g) {
    if
    :: hasLooked && checkpoint[g] == 0 ->
#ifndef WRONG_STATUS_SETTLES
        phase[g] = SAID_NO
#else
        skip
#endif
    :: checkpoint[g] != 0 || phase[g] != SAID_YES
    fi
}

/* A checkpoint that may be there stays, with its record: where the answer was lost, it may be another host's.
 * impl: CSnapshotCreation::settle CCreationOutcome::state CCatalog::update CCatalog::remove */
inline enterOutcome() {
    record[r].made[0] = MADE_OF(0);
    record[r].made[1] = MADE_OF(1);
    if
    :: phase[0] == SAID_YES && phase[1] == SAID_YES -> record[r].state = COMPLETE
    /* done, but cut short by a signal or a limit of time */
    :: phase[0] == SAID_YES || phase[1] == SAID_YES -> record[r].state = PARTIAL
#ifdef WRONG_FORGETS_UNCONFIRMED
    :: phase[0] != SAID_YES && phase[1] != SAID_YES -> removeRecord(r)
#else
    :: phase[0] == SAID_NO && phase[1] == SAID_NO -> removeRecord(r)
    :: phase[0] != SAID_YES && phase[1] != SAID_YES && (phase[0] != SAID_NO || phase[1] != SAID_NO) ->
        record[r].state = FAILED
#endif
    fi
}

inline goOnCreating() {
    do
    :: atomic { phase[0] == TO_BEGIN -> askForCheckpoint(0) }
    :: atomic { phase[1] == TO_BEGIN -> askForCheckpoint(1) }
    :: atomic { KILLED && MAY_BE_KILLED -> rest(); goto idle }
    :: atomic { IS_ANSWERED(0) && IS_ANSWERED(1) ->
#ifdef WRONG_RECORD_COMES_LATE
           enterIntent();
#endif
           settleAnswer(0);
           settleAnswer(1);
           enterOutcome();
           rest();
           goto idle
       }
    od
}
