#include "host/src/provider_check/every_call.h"

namespace fictl {

int64_t callThroughGate(CSubject& subject, const SFunction& function, const CWords& words)
{
    const int64_t status = subject.call(function, words);
    const bool isShut = function.isGated && status == OBZ_ERR_DELAYED_INIT;
    return isShut ? subject.call(function, words) : status;
}

bool isSuccess(const SFunction& function, int64_t status)
{
    const bool isQuestion = function.name == "interpose" || function.name == "supports_fitype";
    return function.name == "claim" || (isQuestion ? status == 1 : status == OBZ_OK);
}

void callEvery(CSubject& subject, const SEveryCall& how)
{
    for (const SFunction& function : functions()) {
        const bool isLife = function.name == "init" || function.name == "fini";
        const bool isFree = function.name == "del_last_error" || function.name == "del_locale_message";
        if (isLife || isFree) continue;
        CArguments arguments(how.text);
        CWords words = arguments.of(function);
        if (how.before) how.before(function, words);
        const int64_t status = subject.call(function, words);
        if (how.after) how.after(function, words, status);
        // Outputs are as they were when the start-up failed during the call.
        if (function.isGated && status == OBZ_ERR_DELAYED_INIT) continue;
        giveBack(subject, function, words, how.scribble);
    }
}

}  // namespace fictl
