#pragma once

#include <ace/Configuration.h>
#include <ace/SString.h>

#include <memory>
#include <string>
#include <vector>

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/// Where a path of this system lies on this host: below the directory that OBZX_ROOT names (read with secure_getenv),
/// or as it stands when that is unset or empty.
OBZX_API std::string placePath(const std::string& path);

/// A line of a configuration store that says nothing because it has no form that the store knows.
struct SFiUnreadableLine
{
    long m_line;         ///< from 1
    std::string m_text;  ///< without the blanks around it; any bytes
};

/**
 * Configuration store of a component: /etc/qz/<component>.conf below the root directory, in INI form, read anew by each
 * object. A store that is missing, unreadable, not a regular file or larger than 1 MiB has no sections. A line that
 * cannot be read costs that line and nothing else: what is below it still belongs to the section above it. The trace
 * log of the component names such lines when it is initialised. Names of sections and values are exact.
 * Construction and reading throw std::bad_alloc; a value is never cut short or passed over for lack of memory. One
 * thread at a time per object.
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

    /// Where the store lies on this host, whether or not it is there; empty for a component that cannot name a file.
    /// @throw std::bad_alloc
    std::string path() const;
    /// The line, from 1, of the value that counts; 0 when it is not there. Opens no section.
    long lineOf(const char* section, const char* value) const;
    /// The lines that cannot be read, in order; valid as long as the object is.
    const std::vector<SFiUnreadableLine>& unreadableLines() const;

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
