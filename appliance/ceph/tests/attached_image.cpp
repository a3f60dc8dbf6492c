#include "appliance/ceph/tests/attached_image.h"

#include <stdexcept>

namespace lumora::test {

CAttachedImage::CAttachedImage(const CCephPool& pool, const std::string& image)
{
    if (::rbd_open(pool.handle(), image.c_str(), &m_image, nullptr) < 0) throw std::runtime_error("no image " + image);
}

CAttachedImage::~CAttachedImage()
{
    ::rbd_close(m_image);
}

int CAttachedImage::write(std::string_view bytes) const
{
    return writeAt(bytes, 0);
}

int CAttachedImage::writeSector(uint64_t number) const
{
    std::string bytes = std::to_string(number);
    bytes.resize(SECTOR, ' ');
    return writeAt(bytes, number * SECTOR);
}

int CAttachedImage::writeAt(std::string_view bytes, uint64_t offset) const
{
    const ssize_t count = ::rbd_write(m_image, offset, bytes.size(), bytes.data());
    return count < 0 ? static_cast<int>(count) : ::rbd_flush(m_image);
}

std::string readFrom(rbd_image_t image, size_t size)
{
    std::string bytes(size, '?');
    const ssize_t count = ::rbd_read(image, 0, size, bytes.data());
    return count < 0 ? "error " + std::to_string(count) : bytes;
}

}  // namespace lumora::test
