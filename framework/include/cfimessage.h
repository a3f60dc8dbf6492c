#pragma once

#include <exception>
#include <string>
#include <vector>

#include "framework/include/cfismartptr.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

/**
 * A message of a catalog: key, arguments, and where it was reported. Does not change, so any thread may read it. An
 * argument of more than 1 MiB is cut, and so is the message's text; section FI_MESSAGE of the component's
 * configuration store can raise that (MAX_LENGTH, bytes).
 */
class OBZX_API CFiMessage : public virtual CFiRefCount
{
  public:
    CFiMessage(std::string catalog, std::string id, std::vector<std::string> arguments, std::string file, int32_t line,
               obz_eseverity severity);
    ~CFiMessage() override;

    const std::string& getCatalog() const { return m_catalog; }  ///< component whose catalog holds the message
    const std::string& getMessageId() const { return m_id; }     ///< key in the catalog
    const std::vector<std::string>& getArguments() const { return m_arguments; }
    const std::string& getFileName() const { return m_file; }  ///< source that reported it
    int32_t getLineNumber() const { return m_line; }
    obz_eseverity getSeverity() const { return m_severity; }

    /// The message's text from a catalog's pattern; the base has no patterns and returns the pattern as it stands.
    virtual std::string format(const std::string& pattern, const std::string& locale) const;

  private:
    std::string m_catalog;
    std::string m_id;
    std::vector<std::string> m_arguments;
    std::string m_file;
    int32_t m_line;
    obz_eseverity m_severity;
};

using CFiMessagePtr = CFiSmartPtr<CFiMessage, CFiNullAllocator<CFiMessage>>;

/// A message whose pattern is in ICU's message format; the arguments fill {0}, {1}, ...
class OBZX_API CFiIcuMessage : public CFiMessage
{
  public:
    using CFiMessage::CFiMessage;
    ~CFiIcuMessage() override;
    /// Arguments are put in as texts. A pattern that cannot be formatted with texts gives itself, followed by the
    /// arguments. An empty locale, or one of no known form, formats as the root locale does.
    std::string format(const std::string& pattern, const std::string& locale) const override;
};

/// Exception with a message code, for which the provider's catalog has a text.
class OBZX_API CFiError : public std::exception
{
  public:
    CFiError(int32_t code, std::string text) : m_code(code), m_text(std::move(text)) {}
    ~CFiError() override;
    const char* what() const noexcept override { return m_text.c_str(); }
    int32_t getCode() const { return m_code; }

    /// "MSG_ERROR_" + component in upper case + "_" + the code with at least four digits; of a code greater than the
    /// offset only what is above it: 6012 of cdpfi with offset 6000 is MSG_ERROR_CDPFI_0012.
    std::string getMessageId(const std::string& component, int32_t offset) const;

  private:
    int32_t m_code;
    std::string m_text;
};

}  // namespace obzx_pdk_4_4
