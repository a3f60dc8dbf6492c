#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/src/runs/run_log.h"

namespace fictl {

/// What a command's answer says of the object that the command names.
enum class EAnswer
{
    DONE,            ///< exit status 0
    NOT_THERE,       ///< refused: there is no such object
    EXISTS_ALREADY,  ///< refused: it was not made, as there is one of that name
    UNKNOWN,         ///< anything else: whether the command had its effect is not known
};

/// A command about an annotation or a time image, as a provider's script gives it to the appliance.
struct SObjectCommand
{
    std::string server;
    std::string verb;  ///< create, delete or show
    std::string kind;  ///< annotation or timeimage
    std::string name;
    std::string group;
    bool operator==(const SObjectCommand&) const = default;
};

/**
 * The command of a script with one command, about one object; none for any other text:
 *
 *     server NAME
 *     create|delete|show annotation|timeimage "NAME" "GROUP"
 *     [lines of a create, the last of them commit]
 *     exit
 *
 * Words stand any number of blanks apart. A name ends at its double quote, so it cannot hold one.
 */
std::optional<SObjectCommand> objectCommandOf(const std::string& script);

/**
 * Judges a run by its exit status, and where a status could mean more than one object, by the whole answer. NOT_THERE
 * is exit status 3 with exactly the line [TOOL: ]annotation|time image "NAME" does not exist in group "GROUP" and
 * EXISTS_ALREADY, of a create only, is exit status 4 with exactly [TOOL: ]annotation|time image "NAME" exists already
 * in group "GROUP" for the very object of the command. TOOL is a program's name: letters, digits, "_", "." and "-".
 * Nothing is looked for within a text, as the names in it may hold anything.
 */
EAnswer judge(const SRunRecord& run);

/// When the appliance says that an image was made: of a run that has shown one, done, and whose answer holds exactly
/// one line "Created: TIME". Empty for any other.
std::string creationTimeIn(const SRunRecord& run, const obzx_run& whole);

/// True when the run is a deletion whose object was not there: it failed, and nothing is wrong.
bool isHarmless(const SRunRecord& run);

/**
 * True when these runs, all there were of one disposal, show that the appliance has neither the checkpoint nor an image
 * of it: the checkpoint's deletion was sent to this appliance and group, and it and every other command was done or was
 * a deletion of what is not there. A command that was never sent confirms nothing.
 */
bool confirmsDeletion(const std::vector<SRunRecord>& runs, const std::string& appliance, const std::string& group,
                      const std::string& checkpoint);

}  // namespace fictl
