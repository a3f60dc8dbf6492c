#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

#include "framework/include/obz_records.h"

namespace fictl {

/// A context for init that keeps what the provider reports. Must outlive the provider's fini.
class CMessageLog
{
  public:
    CMessageLog()
    {
        m_context.callback = &CMessageLog::onMessage;
        m_context.user = this;
    }
    CMessageLog(const CMessageLog&) = delete;
    CMessageLog& operator=(const CMessageLog&) = delete;

    obz_context* context() { return &m_context; }
    /// What is done whenever a message comes, on the thread that reports it; must not throw.
    void onEach(std::function<void()> action) { m_action = std::move(action); }
    size_t count() const { return m_count; }
    std::string last() const
    {
        const std::lock_guard guard(m_lock);
        return m_last;
    }

  private:
    static void onMessage(obz_context* context, const char* /*localized*/, const char* text, obz_eseverity /*severity*/)
    {
        auto* const self = static_cast<CMessageLog*>(context->user);
        {
            const std::lock_guard guard(self->m_lock);
            self->m_last = text == nullptr ? "" : text;
        }
        ++self->m_count;
        if (self->m_action) self->m_action();
    }

    obz_context m_context{};
    std::function<void()> m_action;
    std::atomic<size_t> m_count = 0;
    mutable std::mutex m_lock;
    std::string m_last;  // text in the default locale
};

}  // namespace fictl
