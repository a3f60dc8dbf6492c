#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "framework/include/obz_entry_points.h"
#include "host/src/provider_check/function.h"

namespace fictl {

/// A text that nobody can write to.
class CReadOnlyText
{
  public:
    explicit CReadOnlyText(const std::string& text);
    ~CReadOnlyText();
    CReadOnlyText(const CReadOnlyText&) = delete;
    CReadOnlyText& operator=(const CReadOnlyText&) = delete;

    const char* get() const { return m_memory; }
    /// From now on nobody can read it either. Its address is not used again while the object lives.
    void withdraw();

  private:
    size_t m_size;
    char* m_memory;
};

/**
 * The host's side of calls: arguments of which none is null, each a new object that lives as long as this one. Nodes,
 * identities and texts have names that no provider knows; a list has one element, a number is 1, or 0 where it must be.
 * Outputs hold what no provider stores.
 */
class CArguments
{
  public:
    /// What all texts read, and names of objects begin with.
    explicit CArguments(std::string text = "fictl-check") : m_text(std::move(text)) {}

    CWords of(const SFunction& function);
    /// Which outputs of a call are not null or 0; their names, parted by commas.
    static std::string leftOutputs(const SFunction& function, const CWords& words);

    obz_domain* node(const std::string& name);
    obz_splitnode* splitNode(const std::string& name);
    obzx_objid* identity(const std::string& name);
    obz_msg_info* message();

  private:
    struct SMemory
    {
        alignas(16) unsigned char data[256] = {};
    };

    void* make(const SArgument& argument);
    void* input(EValue value);
    void* memory(unsigned char byte);
    template <class T>
    void* reference(T* object);

    const std::string m_text;
    std::deque<std::string> m_texts;
    std::deque<obz_domain> m_nodes;
    std::deque<obz_splitnode> m_splitNodes;
    std::deque<obzx_objid> m_identities;
    std::deque<int32_t> m_access;
    std::deque<SMemory> m_memory;
};

}  // namespace fictl
