#pragma once

#include <rbd/librbd.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora::test {

constexpr size_t SECTOR = 512;

/// The first bytes of an image, or "error" and a number.
std::string readFrom(rbd_image_t image, size_t size);

/// An image opened for writing, as what a host attaches is.
class CAttachedImage
{
  public:
    CAttachedImage(const CCephPool& pool, const std::string& image);
    ~CAttachedImage();
    CAttachedImage(const CAttachedImage&) = delete;
    CAttachedImage& operator=(const CAttachedImage&) = delete;

    /// At its beginning. Returns when it is safe in the cluster: 0 or a negative errno value.
    int write(std::string_view bytes) const;
    /// Writes a sector's own number to it, from 0 on, and returns as write() does.
    int writeSector(uint64_t number) const;
    /// Its first bytes, or "error" and a number.
    std::string read(size_t size) const { return readFrom(m_image, size); }

  private:
    int writeAt(std::string_view bytes, uint64_t offset) const;

    rbd_image_t m_image = nullptr;
};

}  // namespace lumora::test
