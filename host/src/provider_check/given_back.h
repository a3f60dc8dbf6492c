#pragma once

#include "host/src/provider_check/subject.h"

namespace fictl {

enum class EScribble
{
    NO,
    YES,  ///< texts are overwritten first: what came out is the host's
};

/// Frees what a call has handed out, by the functions that docs/host-interface.md names (Ownership), and takes down the
/// nodes that it may have set up.
void giveBack(CSubject& subject, const SFunction& function, const CWords& words, EScribble scribble = EScribble::NO);

}  // namespace fictl
