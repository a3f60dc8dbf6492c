#pragma once

#include <string>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * One command for the appliance's shell, which may be several lines long.
 *
 * Names stand between double quotes in the text, so a name that holds a double quote, a newline or another control
 * character could end its place and add commands of its own: such a command is never sent.
 */
struct SLMRCommand
{
    std::string m_text;
    bool m_refused = false;     ///< a name may not be sent
    std::string m_refusedName;  ///< the first such name
};

/// Whether a name may stand in a script: no double quote, no control character. An empty name may.
bool isSendableName(const CString& name);

/// The texts of all commands that the appliance's shell is given.
namespace lmr_commands {

SLMRCommand listHosts();
SLMRCommand showHost(const CString& host);
SLMRCommand listGroups();
SLMRCommand showGroup(const CString& group);

SLMRCommand createCheckPoint(const CString& checkpoint, const CString& group);
SLMRCommand deleteCheckPoint(const CString& checkpoint, const CString& group);

SLMRCommand createTimeImage(const CString& timeImage, const CString& group, const CString& checkpoint,
                            const CString& host);
SLMRCommand deleteTimeImage(const CString& timeImage, const CString& group);
SLMRCommand listTimeImages(const CString& group);
SLMRCommand showTimeImage(const CString& timeImage, const CString& group);

/// A host's permission on all time images of a group, given and taken away. The commands name the group where those
/// for a single image name the image.
SLMRCommand permitGroup(const CString& group, const CString& host);
SLMRCommand forbidGroup(const CString& group, const CString& host);
SLMRCommand permitTimeImage(const CString& timeImage, const CString& group, const CString& host);

}  // namespace lmr_commands

/// Command lines of the disk utility.
namespace lmr_utility {

std::string discover(const std::string& program);
std::string listDisks(const std::string& program);

}  // namespace lmr_utility

}  // namespace cdpfi
