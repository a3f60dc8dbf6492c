#include "appliance/ceph/lock_holder.h"

#include <array>
#include <cerrno>

#include "appliance/ceph/ceph_error.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

// The texts of the one holder of an exclusive lock, each ended by a zero byte. Longer ones do not exist: the libraries
// make them of two numbers or an address.
struct STexts
{
    std::array<char, 256> text{};
    size_t size = text.size();
};

// Some calls tell which protocol an address is of, "v1:127.0.0.1:0/1", which the blocklist does not take.
std::string withoutProtocol(std::string address)
{
    const bool hasProtocol = address.size() > 3 && address[0] == 'v' && address[2] == ':';
    return hasProtocol ? address.substr(3) : address;
}

template <class List>
std::optional<SLockHolder> holder(List list, const std::string& object)
{
    int isExclusive = 0;
    STexts tag, clients, cookies, addresses;
    const ssize_t count = list(&isExclusive, tag.text.data(), &tag.size, clients.text.data(), &clients.size,
                               cookies.text.data(), &cookies.size, addresses.text.data(), &addresses.size);
    if (count == -ENOENT || count == 0) return std::nullopt;
    checkCeph(count, "tell who has locked", object);
    return SLockHolder{clients.text.data(), cookies.text.data(), withoutProtocol(addresses.text.data())};
}

}  // namespace

std::optional<SLockHolder> holderOfObject(const CCephPool& pool, const std::string& object, const std::string& lock)
{
    return holder(
        [&](auto... texts) { return ::rados_list_lockers(pool.handle(), object.c_str(), lock.c_str(), texts...); },
        "object " + inQuotes(object) + " of pool " + inQuotes(pool.name()));
}

std::optional<SLockHolder> holderOfImage(const COpenImage& image)
{
    return holder([&](auto... texts) { return ::rbd_list_lockers(image.handle(), texts...); }, image.inWords());
}

}  // namespace lumora
