#include "framework/include/cfirefcount.h"

namespace obzx_pdk_4_4 {

CFiRefCount::~CFiRefCount() = default;

void CFiRefCount::increment()
{
    ++m_count;
}

int32_t CFiRefCount::decrement()
{
    return --m_count;
}

int32_t CFiRefCount::getCount()
{
    return m_count;
}

}  // namespace obzx_pdk_4_4
