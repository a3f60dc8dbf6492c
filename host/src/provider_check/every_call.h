#pragma once

#include <functional>

#include "host/src/provider_check/arguments.h"
#include "host/src/provider_check/given_back.h"
#include "host/src/provider_check/subject.h"

namespace fictl {

/// The first gated call of a provider may meet a start-up that fails; the next one goes on to its operation.
int64_t callThroughGate(CSubject& subject, const SFunction& function, const CWords& words);

/// Whether a status says that the call did what it was asked; of a question: that its answer is yes.
bool isSuccess(const SFunction& function, int64_t status);

struct SEveryCall
{
    std::string text = "fictl-check";  ///< see CArguments
    EScribble scribble = EScribble::NO;
    std::function<void(const SFunction&, CWords&)> before{};
    std::function<void(const SFunction&, const CWords&, int64_t status)> after{};
};

/// Calls every function but init and fini, each with arguments of its own of which none is null, and frees what comes
/// out. The functions that free a text or a message are called with what came out.
void callEvery(CSubject& subject, const SEveryCall& how = {});

}  // namespace fictl
