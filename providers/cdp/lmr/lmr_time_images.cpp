#include "providers/cdp/lmr/lmr_time_images.h"

#include <algorithm>

namespace cdpfi {

namespace {

template <class Map>
typename Map::mapped_type valueOf(const Map& map, std::string_view key)
{
    const auto entry = map.find(key);
    return entry == map.end() ? typename Map::mapped_type() : entry->second;
}

}  // namespace

void CLMRTimeImages::set(std::string_view name, const CTimeImagePtr& image)
{
    CTimeImagePtr former = image;  // destroyed after the lock is given back
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_images[std::string(name)].swap(former);
}

void CLMRTimeImages::setCheckPoint(std::string_view checkPoint, std::string_view timeImage)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_checkPoints[std::string(checkPoint)] = timeImage;
}

std::optional<std::string> CLMRTimeImages::erase(std::string_view name)
{
    CImages::node_type former;  // destroyed after the lock is given back
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (const auto image = m_images.find(name); image != m_images.end()) former = m_images.extract(image);
    const auto entry = std::ranges::find_if(m_checkPoints, [&](const auto& each) { return each.second == name; });
    if (entry == m_checkPoints.end()) return std::nullopt;
    std::string checkPoint = entry->first;
    m_checkPoints.erase(entry);
    return checkPoint;
}

void CLMRTimeImages::eraseCheckPoint(std::string_view checkPoint)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (const auto entry = m_checkPoints.find(checkPoint); entry != m_checkPoints.end()) m_checkPoints.erase(entry);
}

CTimeImagePtr CLMRTimeImages::find(std::string_view name) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return valueOf(m_images, name);
}

CTimeImagePtr CLMRTimeImages::findOfCheckPoint(std::string_view checkPoint) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_checkPoints.find(checkPoint);
    return entry == m_checkPoints.end() ? CTimeImagePtr() : valueOf(m_images, entry->second);
}

size_t CLMRTimeImages::size() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_images.size();
}

CLMRTimeImages::CImages CLMRTimeImages::all() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_images;
}

}  // namespace cdpfi
