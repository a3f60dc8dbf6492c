#pragma once

#include <mutex>
#include <vector>

#include "framework/include/cfimessage.h"
#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

/// Receives the messages that are pushed onto an error stack, on the thread that pushes. What a handler throws is
/// traced and goes no further; its results are not looked at.
class OBZX_API CFiErrorHandlerBase : public virtual CFiRefCount
{
  public:
    ~CFiErrorHandlerBase() override;
    /// A text of no catalog. It ends with the call.
    virtual int32_t handleMessage(const char* text, obz_eseverity severity) = 0;
    /// A message of a catalog.
    virtual int32_t handleMessage(CFiMessagePtr message) = 0;
    /// A text that is there in the host's locale and in the default one; a handler that makes no difference between
    /// them is told the latter as a plain text.
    virtual int32_t handleTexts(const char* localized, const char* text, obz_eseverity severity);
};

using CFiErrorHandlerPtr = CFiSmartPtr<CFiErrorHandlerBase, CFiNullAllocator<CFiErrorHandlerBase>>;

/**
 * The error stack of a provider. A message that is pushed goes to the registered handlers at once and stays on the
 * stack until it is popped; past 256 messages the oldest is dropped. Any thread may call it; no lock is held while a
 * handler runs.
 */
class OBZX_API CFiErrorManager : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    CFiErrorManager();
    ~CFiErrorManager() override;

    /// Adds a handler for all messages from now on, for as long as the manager lives. An empty pointer: nothing.
    void registerHandler(const CFiErrorHandlerPtr& handler);
    /// An empty pointer: nothing. @throw std::bad_alloc
    void push(const CFiMessagePtr& message);
    /// A text without a catalog: goes to the handlers, is not kept. Null: nothing.
    void report(const char* text, obz_eseverity severity);
    /// The same for a text in the host's locale and in the default one; nothing when either is null.
    void report(const char* localized, const char* text, obz_eseverity severity);

    /// The newest message, which stays; empty when there is none.
    CFiMessagePtr top() const;
    /// Takes the newest message with that key and source line off the stack; false when there is none.
    bool remove(const std::string& id, const std::string& file, int32_t line);
    size_t size() const;  ///< messages on the stack

  private:
    void keep(CFiMessagePtr message);
    std::vector<CFiErrorHandlerPtr> handlers() const;

    mutable std::mutex m_mutex;
    std::vector<CFiErrorHandlerPtr> m_handlers;
    std::vector<CFiMessagePtr> m_stack;  // newest last
};

}  // namespace obzx_pdk_4_4
