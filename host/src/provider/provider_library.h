#pragma once

#include <string>

#include "framework/include/obz_entry_points.h"

namespace fictl {

/// Pointers to a provider's entry points, one member for each.
struct SEntryPoints
{
#define FICTL_MEMBER(op) obzx_fi_##op##_fn* op = nullptr;
    OBZX_FI_ENTRY_POINTS(FICTL_MEMBER)
#undef FICTL_MEMBER
};

/**
 * A provider's shared library.
 *
 * A text with "/" is the path of the library; any other text is a name, looked for as
 * <folder of fictl>/../<library folder>/obzx/providers/lib<name>.so, so that a build tree and an installed tree work
 * alike. The prefix of the entry points is the name in the file's own name: lib<name>.so exports <name>_fi_pgn_init and
 * so on. The library stays loaded until the process ends.
 */
class CProviderLibrary
{
  public:
    /// Throws EFictl (PROVIDER) when the file is not there, cannot be loaded, or lacks an entry point; the text names
    /// it.
    explicit CProviderLibrary(const std::string& nameOrPath);

    const std::string& name() const { return m_name; }
    const std::string& path() const { return m_path; }
    const SEntryPoints& calls() const { return m_calls; }

    /// The path that a name or path stands for.
    static std::string pathOf(const std::string& nameOrPath);
    /// The provider's name in a name or path; throws EFictl (PROVIDER) when the file's name has another form.
    static std::string nameOf(const std::string& nameOrPath);

  private:
    void lookUp(void* library);

    std::string m_name;
    std::string m_path;
    SEntryPoints m_calls;
};

}  // namespace fictl
