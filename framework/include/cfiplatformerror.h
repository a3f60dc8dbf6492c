#pragma once

#include <exception>
#include <string>

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/// A failure of the operating system, with the errno value and the system's text for it. The static functions keep no
/// state that a caller could see; any thread may call them.
class OBZX_API CFiPlatformError : public std::exception
{
  public:
    /// @param path what the failed call was about
    CFiPlatformError(const std::string& path, int error);
    ~CFiPlatformError() override;
    const char* what() const noexcept override { return m_text.c_str(); }
    const std::string& getPath() const { return m_path; }
    int getError() const { return m_error; }
    static const char* getCatalogName();  ///< of the messages for such failures: "ksv_fi"

    /// The system's text for an errno value, without up to two trailing line ends; a value that the system has no text
    /// for reads "Errno 12345 (3039) out of range".
    static std::string errorText(int error);
    /// Takes up to two line feeds or carriage returns off the end, but never the last character.
    static std::string trimLineEnds(std::string text);

    /**
     * Name of a fresh temporary file that exists, empty, with mode 0600 and was made by this call (O_EXCL), so that
     * nobody else can have prepared it. Null arguments: the system's temporary directory and the prefix "ksv_fi".
     * The first call in a process removes from the folder what processes of this user that were killed left there.
     * @throw CFiPlatformError when none can be made
     */
    static std::string getTempFileName(const char* directory, const char* prefix);

  private:
    std::string m_path;
    int m_error;
    std::string m_text;
};

}  // namespace obzx_pdk_4_4
