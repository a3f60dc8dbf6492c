#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

namespace base_test {

/// A value of the process's environment while it lives; what was there before comes back. Made and dropped while no
/// other thread reads the environment.
class CEnvironmentValue
{
  public:
    CEnvironmentValue(const char* name, const std::string& value) : m_name(name)
    {
        if (const char* const before = ::getenv(name); before != nullptr) m_before = before;
        ::setenv(name, value.c_str(), 1);
    }
    ~CEnvironmentValue()
    {
        if (m_before) {
            ::setenv(m_name, m_before->c_str(), 1);
        } else {
            ::unsetenv(m_name);
        }
    }
    CEnvironmentValue(const CEnvironmentValue&) = delete;
    CEnvironmentValue& operator=(const CEnvironmentValue&) = delete;

  private:
    const char* const m_name;
    std::optional<std::string> m_before;
};

}  // namespace base_test
