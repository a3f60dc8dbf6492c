#include "appliance/core/faults/fault_kinds.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iterator>
#include <random>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/faults/torn_engine.h"

namespace lumora {

namespace {

std::chrono::milliseconds pauseOf(const SFault& fault)
{
    return std::chrono::milliseconds(fault.milliseconds);
}

[[noreturn]] void refuse(const SFault& fault)
{
    throw EApplianceError(EStatus::UNEXPECTED, "refused by fault " + std::to_string(fault.id));
}

void wait(const SFault& fault)
{
    std::this_thread::sleep_for(pauseOf(fault));
}

[[noreturn]] void hang(const SFault& /*fault*/)
{
    for (;;) {
        ::pause();
    }
}

[[noreturn]] void hangAfter(const SFault& fault, std::string& /*answer*/)
{
    hang(fault);
}

[[noreturn]] void die(const SFault& fault)
{
    ::raise(SIGKILL);
    hang(fault);
}

[[noreturn]] void dieAfter(const SFault& fault, std::string& /*answer*/)
{
    die(fault);
}

// Printable noise in the shape of the answer, the same for the same answer.
void garble(const SFault& /*fault*/, std::string& answer)
{
    std::minstd_rand noise;
    for (char& byte : answer) {
        if (byte != '\n') byte = static_cast<char>('!' + noise() % ('~' - '!' + 1));
    }
}

void cut(const SFault& fault, std::string& answer)
{
    answer.resize(std::min(answer.size(), static_cast<size_t>(fault.bytes)));
}

[[noreturn]] void lose(const SFault& fault, std::string& /*answer*/)
{
    throw EApplianceError(EStatus::UNEXPECTED,
                          "the connection to the appliance was lost by fault " + std::to_string(fault.id));
}

std::unique_ptr<CBaseStorageEngine> tear(const SFault& fault, CBaseStorageEngine& behind)
{
    return std::make_unique<CTornEngine>(behind, pauseOf(fault));
}

}  // namespace

const std::vector<SFaultKind>& faultKinds()
{
    static const std::vector<SFaultKind> kinds = {
        {.word = "watch", .onlyNotes = true},
        {.word = "error", .before = refuse},
        {.word = "slow", .takes = EFaultTakes::SECONDS, .before = wait},
        {.word = "hang", .before = hang},
        {.word = "garble", .after = garble},
        {.word = "cut", .takes = EFaultTakes::BYTES, .after = cut},
        {.word = "lost", .after = lose},
        {.word = "kill-before", .before = die},
        {.word = "kill-after", .after = dieAfter},
        {.word = "hang-after", .after = hangAfter},
        {.word = "tear", .takes = EFaultTakes::SECONDS, .engine = tear, .match = "create annotation "},
    };
    return kinds;
}

const SFaultKind& parseFaultKind(std::string_view word)
{
    for (const SFaultKind& kind : faultKinds()) {
        if (kind.word == word) return kind;
    }
    throw EApplianceError(EStatus::MALFORMED, "fault " + inQuotes(word) + " is none of " + wordsOf(faultKinds(), ", "));
}

std::string wordsOf(const std::vector<SFaultKind>& kinds, std::string_view beforeLast)
{
    std::string words;
    for (const SFaultKind& kind : kinds) {
        const bool isLast = &kind == &kinds.back();
        if (!words.empty()) words += isLast ? beforeLast : std::string_view(", ");
        words += kind.word;
    }
    return words;
}

std::vector<SFaultKind> kindsThatTake(EFaultTakes what)
{
    std::vector<SFaultKind> kinds;
    std::copy_if(faultKinds().begin(), faultKinds().end(), std::back_inserter(kinds),
                 [what](const SFaultKind& kind) { return kind.takes == what; });
    return kinds;
}

}  // namespace lumora
