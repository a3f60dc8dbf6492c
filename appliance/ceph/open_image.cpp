#include "appliance/ceph/open_image.h"

#include "appliance/ceph/ceph_error.h"

namespace lumora {

COpenImage::COpenImage(const CCephPool& pool, const std::string& image) : m_inWords(imageInWords(image, pool.name()))
{
    checkCeph(::rbd_open_read_only(pool.handle(), image.c_str(), &m_handle, nullptr), "open", m_inWords);
}

COpenImage::~COpenImage()
{
    ::rbd_close(m_handle);
}

}  // namespace lumora
