#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "providers/cdp/model/base_timeimage.h"

namespace cdpfi {

/// The time images of a consistency group, and which checkpoint became which of them. Any thread may call it.
class CLMRTimeImages
{
  public:
    using CImages = std::map<std::string, CTimeImagePtr, std::less<>>;

    /// Enters an image, which may be empty, in place of an older one of that name.
    void set(std::string_view name, const CTimeImagePtr& image);
    void setCheckPoint(std::string_view checkPoint, std::string_view timeImage);
    /// Takes an image out, and the first checkpoint that became it, whose name is the result.
    std::optional<std::string> erase(std::string_view name);
    void eraseCheckPoint(std::string_view checkPoint);

    /// Empty when there is no such image.
    CTimeImagePtr find(std::string_view name) const;
    CTimeImagePtr findOfCheckPoint(std::string_view checkPoint) const;
    size_t size() const;
    CImages all() const;

  private:
    mutable std::mutex m_mutex;
    CImages m_images;
    std::map<std::string, std::string, std::less<>> m_checkPoints;  // checkpoint to time image
};

}  // namespace cdpfi
