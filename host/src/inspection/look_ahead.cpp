#include "host/src/inspection/look_ahead.h"

#include "base/helper_thread.h"

namespace fictl {

CLookAhead::CLookAhead(const CInspector& inspector, SLook look)
    : m_inspector(inspector),
      m_look([this, look = std::move(look)]() mutable {
          look.unwanted = m_unwanted.get_token();
          return m_inspector.look(look);
      }),
      m_seen(m_look.get_future()),
      m_thread(base::startHelperThread([this] { m_look(); }))
{
}

CLookAhead::~CLookAhead()
{
    m_unwanted.request_stop();
    if (m_thread.joinable()) m_thread.join();
}

std::optional<SInspection> CLookAhead::wait()
{
    if (m_thread.joinable()) {
        m_thread.join();
    } else {
        m_look();
    }
    return m_seen.get();
}

}  // namespace fictl
