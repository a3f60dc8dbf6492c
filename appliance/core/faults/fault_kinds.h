#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/engines/engine.h"

namespace lumora {

struct SFaultKind;

struct SStruckCommand
{
    std::string text;
    bool finished = false;  ///< it had its effect, or was refused, whatever became of the answer
};

/// A fault that is armed, or is to be.
struct SFault
{
    int64_t id = 0;
    const SFaultKind* kind = nullptr;  ///< a row of faultKinds()
    std::string match;                 ///< strikes commands whose text holds this; empty: every command
    int64_t nth = 1;                   ///< the first command that it strikes, counted from when it was armed
    int64_t times = 1;                 ///< commands that it strikes from then on; 0: all
    int64_t milliseconds = 0;          ///< of a kind that takes SECONDS
    int64_t bytes = 0;                 ///< of a kind that takes BYTES: how many of the answer are kept
    int64_t seen = 0;                  ///< commands that matched so far
    std::vector<SStruckCommand> struck;
};

/// What must be said of a fault beside its kind.
enum class EFaultTakes : uint8_t
{
    NOTHING,
    SECONDS,  ///< length of a pause; one second where nothing is said
    BYTES     ///< a part of the answer; must be said
};

/// What faults of a kind do to the command that they strike. What is null does nothing.
struct SFaultKind
{
    std::string_view word;  ///< as lmadm knows it
    EFaultTakes takes = EFaultTakes::NOTHING;
    bool onlyNotes = false;  ///< leaves the command to other faults

    /// Runs before the command. May throw EApplianceError, or not return.
    void (*before)(const SFault& fault) = nullptr;
    /// Stands before the engine that the command is carried out on.
    std::unique_ptr<CBaseStorageEngine> (*engine)(const SFault& fault, CBaseStorageEngine& behind) = nullptr;
    /// Runs when the command is done or was refused; may change the answer, throw EApplianceError, or not return.
    void (*after)(const SFault& fault, std::string& answer) = nullptr;

    std::string_view match = {};  ///< of a fault for which no text was given
};

/// All kinds, in the order of lmadm's help.
const std::vector<SFaultKind>& faultKinds();

/// Status malformed for a word that names none.
const SFaultKind& parseFaultKind(std::string_view word);

/// "a, b or c" of the kinds' words, with the given text before the last one.
std::string wordsOf(const std::vector<SFaultKind>& kinds, std::string_view beforeLast);
/// The kinds that take it.
std::vector<SFaultKind> kindsThatTake(EFaultTakes what);

}  // namespace lumora
