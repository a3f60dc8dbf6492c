#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "base/tests/test_root.h"
#include "framework/include/cfitrace.h"
#include "framework/include/obz_records.h"
#include "framework/tests/support/node.h"

namespace obzx_pdk_4_4::test {

/// A trace log whose lines up to a level are collected as "<level> <text>".
class CTraceCapture
{
  public:
    explicit CTraceCapture(int32_t level);
    ~CTraceCapture();
    CTraceCapture(const CTraceCapture&) = delete;
    CTraceCapture& operator=(const CTraceCapture&) = delete;
    const CFiTraceLogPtr& log() const { return m_log; }
    std::vector<std::string> lines() const;

  private:
    static void receive(void* user, int32_t level, const char* component, const char* text);

    base_test::CTestRoot m_root;
    CFiTraceLogPtr m_log;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

using obzx_test::CNode;

/// Split nodes over named nodes, with the list that the calls take.
class CSplitNodes
{
  public:
    explicit CSplitNodes(const std::vector<std::string>& names);
    obz_splitnode** list() { return m_list.data(); }
    int32_t count() const { return static_cast<int32_t>(m_list.size()); }
    obz_splitnode& at(size_t index) { return m_nodes[index]; }

  private:
    std::vector<std::string> m_names;
    std::vector<obz_domain> m_domains;
    std::vector<obz_splitnode> m_nodes;
    std::vector<obz_splitnode*> m_list;
};

/// Runs a body on eight threads that start together; the body is told which thread it is.
void onEightThreads(const std::function<void(int)>& body);

}  // namespace obzx_pdk_4_4::test
