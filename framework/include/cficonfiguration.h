#pragma once

#include <ace/Configuration.h>
#include <ace/SString.h>

#include <memory>
#include <string>

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/// Where a path of this system lies on this host: below the directory that OBZX_ROOT names (read with secure_getenv),
/// or as it stands when that is unset or empty.
OBZX_API std::string placePath(const std::string& path);

/**
 * Configuration store of a component: /etc/qz/<component>.conf below the root directory, in INI form, read anew by each
 * object. A store that is missing, unreadable, not a regular file, larger than 1 MiB or malformed has no sections.
 * Construction and reading throw std::bad_alloc; a value is never cut short or passed over for lack of memory.
 */
class OBZX_API CFiConfiguration
{
  public:
    /// @throw std::bad_alloc
    explicit CFiConfiguration(const ACE_String_Base<char>& component);
    virtual ~CFiConfiguration();
    CFiConfiguration(const CFiConfiguration&) = delete;
    CFiConfiguration& operator=(const CFiConfiguration&) = delete;

    /// Opens a section and makes it the one that values are read from. Non-zero: the section is not there.
    /// @param key      left as it is; values are those of the section that was opened last
    /// @param readOnly 1; the store is never written
    int openSection(const char* section, ACE_Configuration_Section_Key& key, int readOnly);
    /// Reads a value of the open section. Non-zero: it is not there, and the value is left as it was.
    /// @throw std::bad_alloc
    int getStringValue(const char* name, ACE_String_Base<char>& value);
    /// The same for a whole number from 0 to 2^31 - 1.
    int getIntegerValue(const char* name, long& value);

  private:
    struct SStore;
    std::unique_ptr<SStore> m_store;
};

/// Tells whether a program of the system is where it should be.
class OBZX_API CFiConfigurationPathTool
{
  public:
    /// 0 when the path, taken below the root directory, is an executable regular file; else the errno value.
    static int verify(const ACE_String_Base<char>& path);
};

}  // namespace obzx_pdk_4_4
