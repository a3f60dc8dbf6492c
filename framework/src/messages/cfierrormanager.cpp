#include "framework/include/cfierrormanager.h"

#include <algorithm>
#include <utility>

namespace obzx_pdk_4_4 {
namespace {

constexpr size_t MAX_MESSAGES = 256;

// A handler that fails must not keep the message from the other ones, nor end the operation that reports it.
template <class F>
void deliver(const CFiTraceable& owner, const std::vector<CFiErrorHandlerPtr>& handlers, F handle)
{
    for (const CFiErrorHandlerPtr& handler : handlers) {
        if (!handler) continue;  // its lock failed while it was copied
        try {
            handle(*handler.get());
        } catch (...) {
            owner.trace(TRACE_FAILURE, "CFiErrorManager: a message handler failed");
        }
    }
}

}  // namespace

CFiErrorHandlerBase::~CFiErrorHandlerBase() = default;

int32_t CFiErrorHandlerBase::handleTexts(const char*, const char* text, obz_eseverity severity)
{
    return handleMessage(text, severity);
}

CFiErrorManager::CFiErrorManager() = default;
CFiErrorManager::~CFiErrorManager() = default;

void CFiErrorManager::registerHandler(const CFiErrorHandlerPtr& handler)
{
    if (!handler) return;
    const std::lock_guard lock(m_mutex);
    m_handlers.push_back(handler);
}

std::vector<CFiErrorHandlerPtr> CFiErrorManager::handlers() const
{
    const std::lock_guard lock(m_mutex);
    return m_handlers;
}

void CFiErrorManager::push(const CFiMessagePtr& message)
{
    if (!message) return;
    keep(message);
    deliver(*this, handlers(), [&](CFiErrorHandlerBase& handler) { handler.handleMessage(message); });
}

void CFiErrorManager::keep(CFiMessagePtr message)
{
    if (!message) return;  // its lock failed: it is handed to the handlers all the same
    const std::lock_guard lock(m_mutex);
    if (m_stack.size() >= MAX_MESSAGES) m_stack.erase(m_stack.begin());
    m_stack.push_back(std::move(message));
}

void CFiErrorManager::report(const char* text, obz_eseverity severity)
{
    if (text == nullptr) return;
    deliver(*this, handlers(), [&](CFiErrorHandlerBase& handler) { handler.handleMessage(text, severity); });
}

void CFiErrorManager::report(const char* localized, const char* text, obz_eseverity severity)
{
    if (localized == nullptr || text == nullptr) return;
    deliver(*this, handlers(), [&](CFiErrorHandlerBase& handler) { handler.handleTexts(localized, text, severity); });
}

CFiMessagePtr CFiErrorManager::top() const
{
    const std::lock_guard lock(m_mutex);
    return m_stack.empty() ? CFiMessagePtr() : m_stack.back();
}

bool CFiErrorManager::remove(const std::string& id, const std::string& file, int32_t line)
{
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_stack.rbegin(), m_stack.rend(), [&](const CFiMessagePtr& message) {
        return message->getLineNumber() == line && message->getMessageId() == id && message->getFileName() == file;
    });
    if (found == m_stack.rend()) return false;
    m_stack.erase(std::next(found).base());
    return true;
}

size_t CFiErrorManager::size() const
{
    const std::lock_guard lock(m_mutex);
    return m_stack.size();
}

}  // namespace obzx_pdk_4_4
