#pragma once

#include <rbd/librbd.h>

#include <string>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora {

/// An image opened for looking at it, which neither takes its lock nor counts as attaching it. Status missing when
/// there is none. For one thread.
class COpenImage
{
  public:
    COpenImage(const CCephPool& pool, const std::string& image);
    ~COpenImage();
    COpenImage(const COpenImage&) = delete;
    COpenImage& operator=(const COpenImage&) = delete;

    rbd_image_t handle() const noexcept { return m_handle; }
    /// For messages.
    const std::string& inWords() const noexcept { return m_inWords; }

  private:
    const std::string m_inWords;
    rbd_image_t m_handle = nullptr;
};

}  // namespace lumora
