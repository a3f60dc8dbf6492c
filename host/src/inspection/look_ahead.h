#pragma once

#include <future>
#include <optional>
#include <stop_token>
#include <thread>

#include "host/src/inspection/inspector.h"

namespace fictl {

/// A look that goes on while who wants it does something else. Given up when it is destroyed before it was waited for.
class CLookAhead
{
  public:
    /// Begins it; where no thread can be had it is made when it is waited for.
    CLookAhead(const CInspector& inspector, SLook look);
    ~CLookAhead();
    CLookAhead(const CLookAhead&) = delete;
    CLookAhead& operator=(const CLookAhead&) = delete;

    /// Waits for its end, once.
    std::optional<SInspection> wait();
    /// The one that has looked, which tells why nothing was seen.
    const CInspector& inspector() const { return m_inspector; }

  private:
    CInspector m_inspector;
    std::stop_source m_unwanted;
    std::packaged_task<std::optional<SInspection>()> m_look;
    std::future<std::optional<SInspection>> m_seen;
    std::thread m_thread;
};

}  // namespace fictl
