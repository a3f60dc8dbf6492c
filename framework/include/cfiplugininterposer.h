#pragma once

#include <string>
#include <vector>

#include "framework/include/cfifim.h"
#include "framework/include/cfipluginbase.h"

namespace obzx_pdk_4_4 {

/// Problems that an interposer notes about nodes, as texts for people; the framework itself notes none. One thread at a
/// time.
class CFiPblmOps
{
  public:
    void note(const std::string& problem) { m_problems.push_back(problem); }
    const std::vector<std::string>& getProblems() const { return m_problems; }

  private:
    std::vector<std::string> m_problems;
};

/**
 * Base of a provider that puts nodes of its own before the host's device nodes. Its own operations answer for nodes of
 * that kind. Methods, node types and the node value are set while the provider starts; later they are only read, by any
 * thread.
 */
class OBZX_API CFiPluginInterposer : public CFiPluginBase
{
  public:
    static constexpr int32_t DEFAULT_NODE_TYPE = 2048;
    static constexpr int32_t INTERPOSED_NODE_VALUE = 4098;  ///< obz_domain::value of a node that was set up

    CFiPluginInterposer();
    ~CFiPluginInterposer() override;

    /// 1: a copy behind an interposed node can be used from the moment it is made.
    int32_t isReady(obz_splitnode** nodes, int32_t count, int32_t* ready) override;
    /// 1 for a node that has private data.
    int32_t checkNodeExistence(obz_domain* node, int32_t* exists) override;
    /// Maps the resource through importNode.
    int32_t importResource(obzx_objid* identity, int32_t transportable, int32_t flags) override;
    /// Unmaps the resource through importNode.
    int32_t deportResource(obzx_objid* identity, int32_t transportable, int32_t flags) override;

    /// Maps or unmaps each of the identities with the form below, in order; stops at the first failure, and with
    /// OBZ_ERR_INVALID_ARG at an identity that is null or has no name.
    virtual int32_t importNode(obzx_objid** identities, int32_t count, bool transportable, bool unmap, int32_t flags);
    /// Maps (or, with unmap, unmaps) the copy of a node to this host. The framework's own: OBZ_ERR_UNSUPPORTED.
    /// @param transportable the copy is meant for another host @param reserved false
    /// @param flags as the host gave them
    virtual int32_t importNode(const ACE_String_Base<char>& nodeName, bool transportable, bool reserved, bool unmap,
                               int32_t flags);

    /// OBZ_ERR_INVALID_ARG for type 0, OBZ_ERR_FAILED when there are two others already.
    int32_t addIgnoreNodeType(int32_t type) override;
    int32_t setDefaultNodeType(int32_t type) override;

    /// Announces a snapshot method; the same method may be announced more than once. access: OBZ_ACCESS_* values or-ed.
    void addFim(const ACE_String_Base<char>& fimName, const ACE_String_Base<char>& splitName,
                const ACE_String_Base<char>& quiesceName, int32_t access, const ACE_String_Base<char>& options);
    const std::vector<SFiAnnouncedFim>& getAnnouncedFims() const { return m_fims; }
    /// The methods that were announced, for a node; the framework makes no difference between nodes.
    std::vector<SFiAnnouncedFim> getFims(const ACE_String_Base<char>& nodeName) const;
    /// "<" + provider name + ">": what the name of every node of this provider begins with.
    ACE_String_Base<char> getInterposeNodePrefix() const;
    int32_t getNodeValue() const { return m_nodeValue; }

  protected:
    int32_t m_defaultNodeType = DEFAULT_NODE_TYPE;
    int32_t m_nodeValue = INTERPOSED_NODE_VALUE;
    CFiPblmOps m_problems;
    int32_t m_ignoredNodeTypes[2] = {0, 0};  // 0: no entry

  private:
    std::vector<SFiAnnouncedFim> m_fims;
};

}  // namespace obzx_pdk_4_4
