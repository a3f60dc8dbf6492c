#pragma once

#include <pthread.h>

#include <cstddef>

namespace base_test {

/// While it lives the system gives this process no thread: each would get a stack larger than any memory.
class CNoThreads
{
  public:
    CNoThreads()
    {
        constexpr size_t BEYOND_ALL_MEMORY = size_t{1} << 48;
        pthread_getattr_default_np(&m_before);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, BEYOND_ALL_MEMORY);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~CNoThreads()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    CNoThreads(const CNoThreads&) = delete;
    CNoThreads& operator=(const CNoThreads&) = delete;

  private:
    pthread_attr_t m_before{};
};

}  // namespace base_test
