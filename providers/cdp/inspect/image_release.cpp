#include "providers/cdp/inspect/image_release.h"

#include <algorithm>

#include "providers/cdp/cdp_appliance_lines.h"
#include "providers/cdp/inspect/configuration_section.h"
#include "providers/cdp/inspect/tool_runner.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"
#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi::inspect {

namespace {

CReason whyNotConfigured(const std::string& appliance)
{
    const SConfiguration configuration = readConfiguration();
    const bool known = std::ranges::any_of(configuration.appliances,
                                           [&](const SConfiguredAppliance& each) { return each.name == appliance; });
    if (known) return {};
    return "appliance [" + shortLine(appliance) + "] is not configured in " + applianceListPath();
}

/// Of each line of a list the first word is the name. A name with a blank in it would not be found there, and would be
/// taken to be gone.
CReason whyNoImageName(const std::string& image)
{
    if (image.empty()) return "the time image has no name";
    if (image.find_first_of(LMR_BLANKS) == std::string::npos) return {};
    return "time image [" + shortLine(image) + "] has a name with a blank, which none has";
}

CReason whyNotGone(CToolRunner& runner, SImageRelease& release)
{
    const SAnswer answer = runner.send(release.appliance, lmr_commands::listTimeImages(textOf(release.group)));
    if (answer.use.tried) release.runs.push_back(answer.run);
    if (answer.problem) return "whether it is gone is not known: " + *answer.problem;
    const SLMRNameListing listing = readTimeImageListing(answer.lines);
    if (!listing.isListing || answer.isCut) {
        return "whether it is gone is not known: the answer to \"" + answer.run.command + "\" is no listing";
    }
    if (std::ranges::find(listing.names, release.image) == listing.names.end()) return {};
    return "time image " + release.image + " of group " + release.group + " is still there";
}

}  // namespace

void releaseImage(SImageRelease& release, uint64_t timeout)
{
    release.problem = whyNotConfigured(release.appliance);
    if (!release.problem) release.problem = whyNoImageName(release.image);
    if (release.problem) return;

    CToolRunner runner;
    const CRunWatch watch(timeout);
    const SAnswer answer =
        runner.send(release.appliance, lmr_commands::deleteTimeImage(textOf(release.image), textOf(release.group)));
    release.exitStatus = answer.run.exitStatus;
    release.output = answer.run.output;
    if (!answer.use.tried) {
        release.problem = answer.problem;
        return;
    }
    release.runs.push_back(answer.run);
    release.problem = whyNotGone(runner, release);
    const bool saysMore =
        answer.problem && release.problem && release.problem->find(*answer.problem) == std::string::npos;
    if (saysMore) *release.problem += "; the deletion: " + *answer.problem;
}

}  // namespace cdpfi::inspect
