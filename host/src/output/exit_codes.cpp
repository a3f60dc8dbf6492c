#include "host/src/output/exit_codes.h"

namespace fictl {

namespace {

constexpr SExitCode CODES[] = {
    {EExit::OK, "ok", "done"},
    {EExit::INTERNAL, "internal", "an error that fictl did not expect"},
    {EExit::USAGE, "usage", "the command line is wrong"},
    {EExit::NOT_FOUND, "not-found", "no snapshot of that name in the catalog"},
    {EExit::EXISTS, "exists",
     "a snapshot of that name is in the catalog, a file is there, or no checkpoint name is free"},
    {EExit::STATE, "state",
     "the snapshot's state does not allow it, another fictl is at work on it, or a copy is in use"},
    {EExit::PROVIDER, "provider", "the provider could not be loaded or started"},
    {EExit::NOT_CLAIMED, "not-claimed",
     "a device is not served by the provider, is ambiguous, or has a name that cannot be worked with; nothing was "
     "done"},
    {EExit::FAILED, "failed",
     "the provider or the appliance refused or failed, the doctor, reconcile or a check of a provider found something "
     "to mend, a job failed or missed a run, or a support bundle is not whole"},
    {EExit::PARTIAL, "partial", "some consistency groups have their checkpoint and others do not"},
    {EExit::NOT_DELETED, "not-deleted",
     "a deletion was not confirmed, or a LUN is in another group now; the record stays"},
    {EExit::CATALOG, "catalog", "the catalog, or a record in it, could not be read or written"},
    {EExit::HOOK, "hook", "a freeze or thaw command failed"},
    {EExit::BAD_RECORD, "bad-record",
     "a document or record does not agree with itself, with another record, or with what is there"},
    {EExit::IO, "io", "a file or the standard output could not be read or written"},
    {EExit::STOPPED, "stopped", "stopped by a signal; the catalog is settled"},
};

}  // namespace

std::span<const SExitCode> exitCodes()
{
    return CODES;
}

const char* exitName(EExit code)
{
    for (const SExitCode& entry : CODES) {
        if (entry.code == code) return entry.name;
    }
    return "internal";
}

}  // namespace fictl
