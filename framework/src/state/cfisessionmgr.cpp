#include "framework/include/cfisessionmgr.h"

#include <new>

#include "framework/include/cfistringtool.h"

namespace obzx_pdk_4_4 {
namespace {

struct SPhase
{
    int32_t CFiSplitNode::*flag;
    const char* line;
};

// null: the number is no phase.
const SPhase* findPhase(int phase)
{
    static constexpr SPhase PHASES[] = {
        {&CFiSplitNode::m_selectDone, "DBG : Found selectDone zero, adding node"},
        {&CFiSplitNode::m_prepareDone, "DBG : Found prepareDone zero, adding node"},
        {&CFiSplitNode::m_makeDone, "DBG : Found makeDone zero, adding node"},
        {&CFiSplitNode::m_updateDone, "DBG : Found updateDone zero, adding node"},
    };
    return phase < PHASE_SELECT || phase > PHASE_UPDATE ? nullptr : &PHASES[phase - PHASE_SELECT];
}

}  // namespace

// The text class leaves a text as it was, without a word, when it finds no memory for another value.
void CFiSplitNode::assign(ACE_String_Base<char>& field, const ACE_String_Base<char>& value)
{
    field = value;
    if (field != value) throw std::bad_alloc();
}

CFiSplitNode::CFiSplitNode(const CFiSplitNode& other)
{
    *this = other;
}

CFiSplitNode& CFiSplitNode::operator=(const CFiSplitNode& other)
{
    if (this == &other) return *this;
    assign(m_name, other.m_name);
    assign(m_target, other.m_target);
    m_text = other.m_text;
    m_makeDone = other.m_makeDone;
    m_selectDone = other.m_selectDone;
    m_prepareDone = other.m_prepareDone;
    m_updateDone = other.m_updateDone;
    return *this;
}

CFiSession::CFiSession() = default;
CFiSession::~CFiSession() = default;

bool CFiSession::addNodes(obz_splitnode** nodes, int count)
{
    if (!isWholeNodeList(nodes, count)) return false;
    std::map<std::string, CFiSplitNode> added;
    for (int i = 0; i < count; ++i) {
        const obz_splitnode& node = *nodes[i];
        CFiSplitNode entry;
        CFiSplitNode::assign(entry.m_name, CFiStringTool::str2tstr(node.node->name));
        if (node.text != nullptr) entry.m_text = node.text;
        added.emplace(node.node->name, entry);
    }
    const std::lock_guard lock(m_mutex);
    m_nodes.merge(added);  // needs no memory, and what is there already stays
    return true;
}

std::vector<CFiSplitNode> CFiSession::getSplitNodeList(int phase)
{
    const CFiTraceLogFunction function(m_traceLog, "getSplitNodeList", __LINE__, __FILE__);
    std::vector<CFiSplitNode> list;
    const SPhase* chosen = findPhase(phase);
    if (chosen == nullptr) return list;
    const std::lock_guard lock(m_mutex);
    list.reserve(m_nodes.size());
    for (const auto& [name, node] : m_nodes) {
        if (node.*(chosen->flag) != 0) continue;
        trace(TRACE_INFO, chosen->line);
        list.push_back(node);
    }
    return list;
}

std::vector<CFiSplitNode> CFiSession::getNodes() const
{
    std::vector<CFiSplitNode> list;
    const std::lock_guard lock(m_mutex);
    list.reserve(m_nodes.size());
    for (const auto& [name, node] : m_nodes) {
        list.push_back(node);
    }
    return list;
}

std::vector<CFiSplitNode*> CFiSession::madeNodes()
{
    std::vector<CFiSplitNode*> made;
    for (auto& [name, node] : m_nodes) {
        if (node.m_makeDone != 0 && node.m_updateDone == 0) made.push_back(&node);
    }
    return made;
}

void CFiSession::markSelected()
{
    mark(&CFiSplitNode::m_selectDone);
}

void CFiSession::markPrepared()
{
    mark(&CFiSplitNode::m_prepareDone);
}

void CFiSession::mark(int32_t CFiSplitNode::*flag)
{
    const std::lock_guard lock(m_mutex);
    for (auto& [name, node] : m_nodes) {
        node.*flag = 1;
    }
}

CFiSessionManager::CFiSessionManager() = default;
CFiSessionManager::~CFiSessionManager() = default;

CFiSessionPtr CFiSessionManager::getSession(const char* name)
{
    if (name == nullptr) return nullptr;
    const std::lock_guard lock(m_mutex);
    const auto found = m_sessions.find(name);
    if (found != m_sessions.end()) return found->second;
    return m_sessions.emplace(name, CFiSessionPtr(new CFiSession())).first->second;
}

}  // namespace obzx_pdk_4_4
