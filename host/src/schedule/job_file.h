#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/src/text/utc_text.h"

namespace fictl {

/// The label that the snapshots of a job have, and its runs give to creation and rotation.
constexpr const char* JOB_LABEL = "job";

/// How often something is to be run.
struct SPace
{
    std::chrono::seconds every{};  ///< a run is due so long after the one before it began
    std::chrono::seconds grace{};  ///< it may begin so much later before it is missed
};

/// What an administrator says of snapshots that are to be taken again and again, as far as it is asked how that goes.
struct SJob
{
    std::string name{};
    SPace creation{};
    std::optional<SPace> rotation{};  ///< nothing: nothing is deleted by itself
    UtcTime since{};                  ///< when the file was changed last: before that nothing was due
};

/// A job's file is not as it has to be; says where and why.
class EJobFile : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
    ~EJobFile() override;
    EJobFile(const EJobFile&) = default;
    EJobFile& operator=(const EJobFile&) = default;
};

/// 1 to 64 letters, digits or "._-", the first one a letter or a digit: a unit's instance and a label's value alike.
bool isJobName(std::string_view name);

/**
 * The text of a job's file. It holds only what systemd (EnvironmentFile=) and sh (".") take alike, and refuses the
 * rest:
 *
 *     file       = *( *blank [ assignment / comment ] *blank LF )
 *     comment    = "#" *any
 *     assignment = NAME "=" value                 each name once, without blanks around "="
 *     value      = DQUOTE *any DQUOTE             without double quote, backslash, dollar sign and backquote
 *                / "'" *any "'"                   without single quote and backslash
 *                / *( ALPHA / DIGIT / "_./:@%+,{}-" )
 *
 *     SNAPSHOT="db-{date}-{n}"
 *     DEVICES="/dev/sdb /dev/sdc"
 *     FREEZE='db-quiet on'
 *     THAW='db-quiet off'
 *     CREATE_OPTIONS="--max-freeze 20"
 *     PRUNE_OPTIONS="--keep-daily 7 --keep-weekly 4"
 *     EVERY=1d
 *     GRACE=6h
 *     PRUNE_EVERY=1d
 *
 * SNAPSHOT, DEVICES and EVERY have to be there. The three that are lists of words are separated by blanks and hold
 * nothing that a shell would make other words of. GRACE is a quarter of EVERY where it is not given. A rotation is
 * there where PRUNE_OPTIONS has words: each PRUNE_EVERY, a day where it is not given, with a quarter of that as its
 * grace. Throws EJobFile; since stays as it is.
 */
SJob parseJob(const std::string& name, const std::string& text);

}  // namespace fictl
