#pragma once

#include <string>
#include <vector>

#include "framework/include/obz_entry_points.h"
#include "framework/tests/support/node.h"

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

using obzx_test::CNode;

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
