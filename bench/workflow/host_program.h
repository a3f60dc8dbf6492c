#pragma once

#include <string>
#include <vector>

#include "framework/include/obz_entry_points.h"

namespace bench {

/// All entry points of a provider.
struct SEntryPoints
{
#define BENCH_ENTRY(op) obzx_fi_##op##_fn* op = nullptr;
    OBZX_FI_ENTRY_POINTS(BENCH_ENTRY)
#undef BENCH_ENTRY
};

/// A host program that loads the provider at run time and uses nothing but its entry points. Failures throw.
class CHostProgram
{
  public:
    /// @param library path of libcdpfi.so
    explicit CHostProgram(const std::string& library);
    CHostProgram(const CHostProgram&) = delete;
    CHostProgram& operator=(const CHostProgram&) = delete;

    const SEntryPoints& call() const { return m_calls; }
    void init() const;
    void fini() const { m_calls.fini(); }

  private:
    SEntryPoints m_calls;
};

/// A record of the host's tree with an identity of its own.
class CNode
{
  public:
    explicit CNode(const std::string& name);
    ~CNode();
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    obz_domain* record() { return &m_record; }
    obz_splitnode* split() { return &m_split; }

  private:
    obzx_objid* const m_identity;  // an import may put another one into the record
    obz_domain m_record{};
    obz_splitnode m_split{};
};

/// Throws when a call did not give what it had to.
void need(bool condition, const char* what);

/// A disk of the host and the LUN that it shows.
struct SDisk
{
    std::string path;
    std::string serial;
    std::string group;  ///< empty: no group protects it
};

/// The disks of a site, as its file "disks" lists them: path, serial, group, separated by tabs.
std::vector<SDisk> readDisks(const std::string& site);

}  // namespace bench
