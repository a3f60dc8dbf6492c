#include "framework/tests/support/plugin_test_support.h"

#include <barrier>
#include <thread>

#include "framework/include/obzx_runtime.h"

namespace obzx_pdk_4_4::test {

CTraceCapture::CTraceCapture(int32_t level) : m_log(true)
{
    m_log->initialize("pdktest", "", "", 1, false);
    obzx_set_trace_observer(&receive, this, level);
}

CTraceCapture::~CTraceCapture()
{
    obzx_set_trace_observer(nullptr, nullptr, 0);
}

void CTraceCapture::receive(void* user, int32_t level, const char*, const char* text)
{
    auto* self = static_cast<CTraceCapture*>(user);
    const std::lock_guard lock(self->m_mutex);
    self->m_lines.push_back(std::to_string(level) + " " + text);
}

std::vector<std::string> CTraceCapture::lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

CSplitNodes::CSplitNodes(const std::vector<std::string>& names)
    : m_names(names), m_domains(names.size()), m_nodes(names.size())
{
    for (size_t i = 0; i < names.size(); ++i) {
        m_domains[i].name = m_names[i].data();
        m_nodes[i] = obz_splitnode{nullptr, &m_domains[i]};
        m_list.push_back(&m_nodes[i]);
    }
}

void onEightThreads(const std::function<void(int)>& body)
{
    std::barrier start(8);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            body(i);
        });
    }
}

}  // namespace obzx_pdk_4_4::test
