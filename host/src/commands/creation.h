#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/catalog.h"
#include "host/src/commands/command.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/provider/node_tree.h"
#include "host/src/snapshot/snapshot_maker.h"

namespace fictl {

struct SCreateRequest
{
    std::string name{};
    std::vector<std::string> devices{};
    Labels labels{};
    std::string note{};
    SHooks hooks{};
};

/// The checkpoint that this process would make is in use; ids are those of all processes whose checkpoint is, in order.
struct SNameInUse
{
    std::vector<int64_t> ids;
};

/**
 * One run of "snapshot create": the record is built while the nodes are set up, entered as an intent right before the
 * appliance is asked for anything, and settled with what make left behind and what is on the appliances then. A
 * guardian must be there; used once, by one thread.
 */
class CSnapshotCreation
{
  public:
    /// Both must outlive it.
    CSnapshotCreation(const SContext& context, const SCreateRequest& request)
        : m_context(context), m_request(request), m_knowledge(context.chosenProvider(), context.timeout)
    {
    }

    /// Throws EFictl when the snapshot is not complete, and SNameInUse when another process has to make it: nothing was
    /// made then.
    SResult run();

  private:
    void refuseEarly();
    void setUp();
    const SInspection* inventory();
    void lookBefore();
    void requireUnambiguous(const SInspection& seen) const;
    void requireListable(const SInspection& seen);
    void requireFreeName(const SInspection& seen);
    [[noreturn]] void goOnElsewhere(const SInspection* seen);
    [[noreturn]] void refuseDevice(const std::string& path, const std::string& reason, const std::string& next);
    SMakeResult make();
    SResult settle(const SMakeResult& made);

    const SContext& m_context;
    const SCreateRequest& m_request;
    CCatalog m_catalog;
    CKnowledge m_knowledge;
    bool m_hasLooked = false;
    std::optional<CProvider> m_provider;
    std::optional<CNodeTree> m_tree;
    std::vector<CNode*> m_nodes;  // one for each device of the record, in the tree
    SSnapshot m_record;
};

}  // namespace fictl
