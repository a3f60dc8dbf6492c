#include "appliance/ceph/ceph_cluster.h"

#include <unistd.h>

#include <system_error>
#include <utility>

#include "appliance/ceph/ceph_error.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

constexpr uint32_t BLOCKED_SECONDS = 3600;  // as long as anything that a dead client sent could still be under way
// How long a cluster that does not answer is waited for.
constexpr const char* CONNECT_SECONDS = "15";

[[noreturn]] void refuse(const SCephSetup& setup, int code)
{
    throw EApplianceError(EStatus::UNUSABLE, "cannot use the cluster of " + setup.configuration.string() +
                                                 " as client." + setup.user + ": " +
                                                 std::error_code(-code, std::generic_category()).message());
}

}  // namespace

CCephCluster::CCephCluster(SCephSetup setup) : m_setup(std::move(setup))
{
    int code = ::rados_create2(&m_handle, "ceph", ("client." + m_setup.user).c_str(), 0);
    if (code < 0) refuse(m_setup, code);
    code = ::rados_conf_read_file(m_handle, m_setup.configuration.c_str());
    if (code < 0) {
        ::rados_shutdown(m_handle);
        refuse(m_setup, code);
    }
    ::rados_conf_set(m_handle, "client_mount_timeout", CONNECT_SECONDS);
    if (m_setup.patience > 0) {
        const std::string seconds = std::to_string(m_setup.patience);
        ::rados_conf_set(m_handle, "rados_osd_op_timeout", seconds.c_str());
        ::rados_conf_set(m_handle, "rados_mon_op_timeout", seconds.c_str());
    }
    // What a tool says is its own; the libraries would write to the same place.
    ::rados_conf_set(m_handle, "log_to_stderr", "false");
    ::rados_conf_set(m_handle, "err_to_stderr", "false");
}

CCephCluster::~CCephCluster()
{
    ::rados_shutdown(m_handle);
    if (!m_address.empty()) records().remove(m_address);
}

rados_t CCephCluster::handle()
{
    const std::lock_guard lock(m_mutex);
    if (m_address.empty()) connect();
    return m_handle;
}

void CCephCluster::connect()
{
    const int code = ::rados_connect(m_handle);
    if (code < 0) refuse(m_setup, code);
    char* addresses = nullptr;
    checkCeph(::rados_getaddrs(m_handle, &addresses), "tell the address of", "client." + m_setup.user);
    const std::string address = addresses;
    ::rados_buffer_free(addresses);
    records().add(address, ::getpid());
    m_address = address;
}

void CCephCluster::blocklist(const std::string& address)
{
    std::string text = address;
    checkCeph(::rados_blocklist_add(handle(), text.data(), BLOCKED_SECONDS), "shut out", "client " + address);
    // Whatever this client asks for next reaches only nodes that know it, too.
    checkCeph(::rados_wait_for_latest_osdmap(handle()), "shut out", "client " + address);
}

CCephPool::CCephPool(CCephCluster& cluster, std::string name, std::string space)
    : m_name(std::move(name)), m_space(std::move(space))
{
    checkCeph(::rados_ioctx_create(cluster.handle(), m_name.c_str(), &m_handle), "open", "pool " + inQuotes(m_name));
    if (!m_space.empty()) ::rados_ioctx_set_namespace(m_handle, m_space.c_str());
}

CCephPool::~CCephPool()
{
    ::rados_ioctx_destroy(m_handle);
}

}  // namespace lumora
