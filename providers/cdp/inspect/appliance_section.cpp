#include "providers/cdp/inspect/appliance_section.h"

#include <algorithm>
#include <unordered_set>

#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_listing_details.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"

namespace cdpfi::inspect {

namespace {

constexpr size_t SHOWN_LINES = 5;

using CLines = std::vector<std::string>;

std::vector<std::string> textsOf(const std::vector<std::string_view>& views)
{
    return {views.begin(), views.end()};
}

std::optional<std::vector<std::string>> textsOf(const std::optional<std::vector<std::string_view>>& views)
{
    return views ? std::optional(textsOf(*views)) : std::nullopt;
}

std::optional<std::string> textOf(const std::optional<std::string_view>& view)
{
    return view ? std::optional<std::string>(*view) : std::nullopt;
}

std::optional<std::vector<SAnnotation>> textsOf(const std::optional<std::vector<SLMRAnnotation>>& listed)
{
    if (!listed) return std::nullopt;
    std::vector<SAnnotation> annotations;
    annotations.reserve(listed->size());
    for (const SLMRAnnotation& each : *listed) {
        annotations.push_back({std::string(each.name), textOf(each.time), textOf(each.message)});
    }
    return annotations;
}

/// Why an answer is no whole listing of a group; empty for one that is.
std::string defectOf(const SLMRGroupListing& listing)
{
    switch (listing.result) {
        case EGroupListing::COMPLETE:
            return {};
        case EGroupListing::NO_PROTECTED:
            return "\"Protected LUNS:\" is missing";
        case EGroupListing::NO_PERMISSION:
            return "\"Permissions:\" is missing";
        case EGroupListing::NO_STILLMARK:
            return "\"Stillmark LUNs:\" is missing";
        default:
            return "[" + shortLine(listing.badLine) + "] is no LUN";
    }
}

std::string defectOf(const SLMRImageListing& listing)
{
    if (listing.result == EImageListing::COMPLETE) return {};
    if (listing.result == EImageListing::NO_LUNS) return "\"TimeImage LUNs:\" is missing";
    return "[" + shortLine(joinTexts(listing.badPieces, " ")) + "] is no LUN";
}

std::string defectOf(const SLMRNameListing& listing, const CLines& lines)
{
    if (listing.isListing) return {};
    return listing.strayLine ? "[" + shortLine(lines[*listing.strayLine]) + "]" : "it is empty";
}

/// Notes an answer with exit status 0 that is not the listing that was asked for, and gives the reason.
std::string noListing(const SLMRCommand& command, const CLines& lines, const std::string& defect, SAsked& asked)
{
    SNoListing& noted = asked.noListings.emplace_back();
    noted.command = readableCommand(command.m_text);
    for (size_t i = 0; i < std::min(lines.size(), SHOWN_LINES); ++i) {
        noted.lines.push_back(shortLine(lines[i]));
    }
    return "the answer to \"" + noted.command + "\" is no listing: " + defect;
}

void fill(SGroup& group, const SLMRGroupListing& listing, const SLMRGroupDetails& details)
{
    group.read = true;
    for (const SLMRGroupLun& lun : listing.luns) {
        group.luns.push_back({std::string(lun.device), std::string(lun.serial), {}});
    }
    group.permissions = textsOf(details.permissions);
    group.annotations = textsOf(details.annotations);
}

}  // namespace

void CApplianceQuestions::begin()
{
    add([this] {
        readHosts();
        readGroups();
    });
}

void CApplianceQuestions::add(base::CSideBySide::Task questions)
{
    m_work.add([this, questions = std::move(questions)] {
        try {
            questions();
        } catch (const std::exception& error) {
            // What this program itself fails at (such as memory) is the section's problem, not the end of it all.
            const std::lock_guard guard(m_lock);
            m_failure = std::string("not asked to the end: ") + error.what();
        }
    });
}

SAppliance CApplianceQuestions::take()
{
    gather(m_askedForHosts);
    for (SAsked& asked : m_askedOfHosts) {
        gather(asked);
    }
    gather(m_askedForGroups);
    for (SAsked& asked : m_askedOfGroups) {
        gather(asked);
    }
    if (m_silence) m_section.problem = m_silence;
    if (m_failure) m_section.problem = m_failure;
    m_section.reachable = !m_silence && !m_failure && (m_section.hostsRead || m_section.groupsRead);
    return std::move(m_section);
}

void CApplianceQuestions::gather(SAsked& asked)
{
    m_section.shell.add(asked.shell);
    std::ranges::move(asked.noListings, std::back_inserter(m_section.noListings));
    std::ranges::move(asked.runs, std::back_inserter(m_section.runs));
}

bool CApplianceQuestions::isShown(const std::string& group) const
{
    return m_options.groups.empty() || std::ranges::find(m_options.groups, group) != m_options.groups.end();
}

CReason CApplianceQuestions::silence() const
{
    const std::lock_guard guard(m_lock);
    return m_silence;
}

void CApplianceQuestions::noteSilence(const SAnswer& answer)
{
    const std::lock_guard guard(m_lock);
    if (m_silence) return;
    m_silence = answer.problem;
    if (answer.timedOut) *m_silence += " to \"" + answer.run.command + "\"";
}

/// The lines of an answer with exit status 0; else empty, with the reason.
std::optional<CApplianceQuestions::CLines> CApplianceQuestions::ask(const SLMRCommand& command, SAsked& asked,
                                                                    CReason& problem)
{
    if (const CReason silent = silence()) {
        problem = "not asked: " + *silent;
        return std::nullopt;
    }
    SAnswer answer = m_runner.send(m_section.name, command);
    asked.shell.add(answer.use);
    if (!answer.problem && answer.isCut) answer.problem = noListing(command, answer.lines, CUT_LISTING, asked);
    if (answer.timedOut || answer.notStarted) noteSilence(answer);
    problem = answer.problem;
    if (m_options.raw && answer.use.tried) asked.runs.push_back(std::move(answer.run));
    return answer.problem ? std::nullopt : std::optional(std::move(answer.lines));
}

/// The names in a listing; empty when there was no answer or it is no such listing, with the reason.
std::optional<std::vector<std::string>> CApplianceQuestions::askForNames(const SLMRCommand& command,
                                                                         const SNameReader& reader, SAsked& asked,
                                                                         CReason& problem)
{
    const auto lines = ask(command, asked, problem);
    if (!lines) return std::nullopt;
    if (const std::string excess = excessOf(*lines, reader.parse, m_runner.bounds()); !excess.empty()) {
        problem = "the answer to \"" + readableCommand(command.m_text) + "\" counts as none: " + excess;
        return std::nullopt;
    }
    const SLMRNameListing listing = reader.read(*lines);
    if (listing.isListing) return textsOf(listing.names);
    problem = noListing(command, *lines, defectOf(listing, *lines), asked);
    return std::nullopt;
}

void CApplianceQuestions::readHosts()
{
    CReason problem;
    const auto names =
        askForNames(lmr_commands::listHosts(), {readHostListing, parseHostName}, m_askedForHosts, problem);
    note(problem);
    if (!names) return;
    m_section.hostsRead = true;
    for (const std::string& name : *names) {
        m_section.hosts.push_back({name, {}});
    }
    if (m_options.inventory || !m_options.groups.empty()) return;
    m_askedOfHosts.resize(names->size());
    for (size_t i = 0; i < names->size(); ++i) {
        add([this, i] { readHost(m_section.hosts[i], m_askedOfHosts[i]); });
    }
}

void CApplianceQuestions::readHost(SHost& host, SAsked& asked)
{
    CReason ignored;  // the host is listed all the same, without what is presented to it
    if (const auto lines = ask(lmr_commands::showHost(cdpfi::textOf(host.name)), asked, ignored)) {
        host.luns = textsOf(parsePresentedLuns(*lines));
    }
}

void CApplianceQuestions::readGroups()
{
    CReason problem;
    auto names = askForNames(lmr_commands::listGroups(), {readGroupListing, parseGroupName}, m_askedForGroups, problem);
    note(problem);
    if (!names) return;
    m_section.groupsRead = true;
    m_section.groupNames = std::move(*names);
    for (const std::string& name : m_section.groupNames) {
        if (isShown(name)) m_section.groups.emplace_back().name = name;
    }
    m_askedOfGroups.resize(m_section.groups.size());
    for (size_t i = 0; i < m_section.groups.size(); ++i) {
        add([this, i] { readGroup(m_section.groups[i], m_askedOfGroups[i]); });
    }
}

void CApplianceQuestions::readGroup(SGroup& group, SAsked& asked)
{
    const SLMRCommand command = lmr_commands::showGroup(cdpfi::textOf(group.name));
    std::vector<std::string> images;
    if (const auto lines = ask(command, asked, group.problem)) {
        const SLMRGroupListing listing = parseGroup(*lines);
        if (const std::string defect = defectOf(listing); !defect.empty()) {
            group.problem = noListing(command, *lines, defect, asked);
        } else {
            const SLMRGroupDetails details = parseGroupDetails(*lines);
            fill(group, listing, details);
            images = textsOf(details.images);
        }
    }
    if (!m_options.inventory) readImages(group, images, asked);
}

/// @param shown images that the group's listing has
void CApplianceQuestions::readImages(SGroup& group, const std::vector<std::string>& shown, SAsked& asked)
{
    CReason problem;
    const SLMRCommand command = lmr_commands::listTimeImages(cdpfi::textOf(group.name));
    const auto names = askForNames(command, {readTimeImageListing, parseTimeImageName}, asked, problem);
    // A list whose last lines were lost looks like a shorter list, so it is compared with what the group shows.
    const std::unordered_set<std::string_view> listed =
        names ? std::unordered_set<std::string_view>(names->begin(), names->end())
              : std::unordered_set<std::string_view>();
    for (const std::string& name : shown) {
        if (!names || listed.contains(name)) continue;
        problem = "the answer to \"" + readableCommand(command.m_text) + "\" lacks " + shortLine(name);
    }
    if (!group.problem) group.problem = problem;
    if (!names) return;
    group.imagesRead = !problem;
    for (const std::string& name : *names) {
        group.images.push_back(readImage(group.name, name, asked));
    }
}

SImage CApplianceQuestions::readImage(const std::string& group, const std::string& name, SAsked& asked)
{
    SImage image;
    image.name = name;
    const SLMRCommand command = lmr_commands::showTimeImage(cdpfi::textOf(name), cdpfi::textOf(group));
    const auto lines = ask(command, asked, image.problem);
    if (!lines) return image;
    const SLMRImageListing listing = parseTimeImage(*lines);
    if (const std::string defect = defectOf(listing); !defect.empty()) {
        image.problem = noListing(command, *lines, defect, asked);
        return image;
    }
    for (const SLMRImageLun& lun : listing.luns) {
        image.luns.push_back({std::string(lun.sourceSerial), std::string(lun.targetSerial), {}});
    }
    const SLMRImageDetails details = parseTimeImageDetails(*lines);
    image.annotation = textOf(details.annotation);
    image.created = textOf(details.created);
    image.permissions = textsOf(details.permissions);
    return image;
}

void CApplianceQuestions::note(const CReason& problem)
{
    if (!m_section.problem) m_section.problem = problem;
}

}  // namespace cdpfi::inspect
