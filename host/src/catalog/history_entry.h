#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/src/process/invoker.h"
#include "host/src/process/process_identity.h"

namespace fictl {

/// What is known of a command about one object of an appliance.
enum class EOutcome
{
    ASKED,    ///< it was going to be sent; nothing more was entered
    SURE,     ///< it had its effect
    LOST,     ///< it was sent, and whether it had its effect is not known
    REFUSED,  ///< the appliance said that it did nothing
};

/// Text of an outcome in the catalog; nothing for a text that is none.
const char* outcomeText(EOutcome outcome);
std::optional<EOutcome> outcomeOf(const std::string& text);

/// One object that a command made or deleted, or meant to.
struct SHistoryObject
{
    std::string verb;  ///< create or delete
    std::string kind;  ///< checkpoint or image
    std::string appliance;
    std::string group;
    std::string name;
    EOutcome outcome = EOutcome::ASKED;
    std::string madeAt{};  ///< when the appliance says that it was made; empty when that is not known

    bool isSameAs(const SHistoryObject& other) const
    {
        return verb == other.verb && kind == other.kind && appliance == other.appliance && group == other.group &&
               name == other.name;
    }
};

/// One program that the provider ran.
struct SHistoryRun
{
    std::string started;  ///< UTC
    std::chrono::microseconds duration{0};
    std::string command;  ///< on one line
    std::string answer;   ///< how it ended and what it said, on one line
};

/// How a command ended.
struct SHistoryEnd
{
    int exit = 0;
    std::chrono::microseconds duration{0};
    std::chrono::microseconds frozen{0};  ///< how long the application was frozen; 0 when it was not
    std::string message{};                ///< of the error; empty when there was none
};

/// One command that changes something, as the history keeps it.
struct SHistoryEntry
{
    int64_t id = 0;  ///< grows from entry to entry
    std::string started;
    SInvoker invoker;
    std::string command;   ///< the command line, without what may be secret
    std::string snapshot;  ///< the one that it is about; empty when it came to none
    SProcessIdentity process;
    std::optional<SHistoryEnd> end;  ///< nothing while it runs, and of one that was killed
    std::vector<SHistoryObject> objects;
    std::vector<SHistoryRun> runs;  ///< those that change something, and those that failed
    int64_t looks = 0;              ///< further runs, which only looked
    int64_t lost = 0;               ///< further runs, for which there was no room
};

}  // namespace fictl
