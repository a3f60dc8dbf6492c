/*
 * What fictl does between its catalogs and an appliance, on two hosts that share it, for a snapshot of two consistency
 * groups: create, export, receive, import, release, delete. script/model checks it, as it is and with mistakes put in.
 *
 * Each host gives one command after another, whatever the other host does meanwhile. A step is one command of the
 * appliance, with what is entered in the own catalog right before or after it: nobody else sees that. Between two steps,
 * and between the command and the entry, fictl may be killed. Commands of the appliance may fail, an answer may get lost
 * after the effect, and a look may find nothing out. What a command does with its two groups goes on side by side, in any
 * order of the steps, where fictl does so.
 *
 * Left out: what is mounted or open, LUNs that were moved to another group, hooks, --forget, two commands at once on one
 * host, devices beyond the first of a group, a look that falls into the time between two commands of another host for the
 * two groups: a command looks at both in one moment.
 *
 * A step names the functions that implement it, behind "impl"; script/model looks whether the sources have them.
 *
 * Set with -D:
 *   SECOND_HERE, SECOND_THERE   where a second snapshot of the same checkpoint name is made: on the first host, on the
 *                               other one; else nowhere
 *   IN_TURN                     no two commands at once: a command of one host begins when that of the other has ended
 *   WRONG_...                   a mistake that the checks must find
 *   LIMIT_...                   lifts an assumption that the programs depend on (assumptions.pml)
 */
#include "site.pml"
#include "assumptions.pml"
#include "look.pml"
#include "disposal.pml"
#include "create.pml"
#include "documents.pml"
#include "import.pml"
#include "release.pml"
#include "delete.pml"
#include "host.pml"
#include "invariants.pml"
#include "janitor.pml"

init {
    atomic {
        run Host(0);
        run Host(1);
        run Watcher();
        run Janitor()
    }
}
