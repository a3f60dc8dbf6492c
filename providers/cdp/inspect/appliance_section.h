#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/side_by_side.h"
#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/inspect/tool_runner.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"

namespace cdpfi::inspect {

/// What a row of commands came to, beside what it told.
struct SAsked
{
    SToolUse shell;
    std::vector<SNoListing> noListings;
    std::vector<SToolRun> runs;  ///< only when they are to be kept
};

/**
 * Asks one appliance for everything, with commands that list and show and no others: its lists first, then its hosts
 * and groups side by side. Once a command got no answer no other is begun, so that an appliance that hangs costs little
 * more than one time limit. What is found has the order of the lists, whoever answers first.
 */
class CApplianceQuestions
{
  public:
    /// All must outlive it.
    /// @param work does the questions
    CApplianceQuestions(CToolRunner& runner, const SInspectOptions& options, base::CSideBySide& work, std::string name)
        : m_runner(runner), m_options(options), m_work(work)
    {
        m_section.name = std::move(name);
    }
    CApplianceQuestions(const CApplianceQuestions&) = delete;
    CApplianceQuestions& operator=(const CApplianceQuestions&) = delete;

    /// Adds the first questions to the work, which add the others.
    void begin();
    /// What was found, once the work is done.
    SAppliance take();

  private:
    using CLines = std::vector<std::string>;
    struct SNameReader
    {
        SLMRNameListing (*read)(const CLines&);
        CLMRNameParser parse;  ///< one line, for the count
    };

    void add(base::CSideBySide::Task questions);
    void gather(SAsked& asked);
    bool isShown(const std::string& group) const;
    CReason silence() const;
    void noteSilence(const SAnswer& answer);
    void note(const CReason& problem);
    std::optional<CLines> ask(const SLMRCommand& command, SAsked& asked, CReason& problem);
    std::optional<CLines> askForNames(const SLMRCommand& command, const SNameReader& reader, SAsked& asked,
                                      CReason& problem);
    void readHosts();
    void readHost(SHost& host, SAsked& asked);
    void readGroups();
    void readGroup(SGroup& group, SAsked& asked);
    void readImages(SGroup& group, const std::vector<std::string>& shown, SAsked& asked);
    SImage readImage(const std::string& group, const std::string& name, SAsked& asked);

    CToolRunner& m_runner;
    const SInspectOptions& m_options;
    base::CSideBySide& m_work;
    SAppliance m_section;    // its lists belong to the first task, each entry to a task of its own
    SAsked m_askedForHosts;  // the two lists
    SAsked m_askedForGroups;
    std::vector<SAsked> m_askedOfHosts;   // one for each host
    std::vector<SAsked> m_askedOfGroups;  // one for each group

    mutable std::mutex m_lock;  // guards what follows
    CReason m_silence;          // why a command got no answer; nothing else is asked after that
    CReason m_failure;
};

}  // namespace cdpfi::inspect
