#include "bench/workflow/backup.h"

#include <unistd.h>

#include "framework/include/obzx_runtime.h"

namespace bench {

namespace {

std::string suffix()
{
    return std::to_string(getpid());  // checkpoints and images carry the process that made them
}

}  // namespace

std::string targetName(const std::string& serial)
{
    return "<cdpfi><DeviceID>" + serial + "<DeviceID/><Annotation>KSV_Check_Point_" + suffix() + "<Annotation/>";
}

void CBackup::setUp()
{
    for (const SDisk& disk : m_disks) {
        CNode offered(disk.path);
        obzx_objid* interposed = nullptr;
        obzx_objid** groups = nullptr;
        int32_t count = 0;
        need(m_host.call().interpose(offered.get(), &interposed, &groups, &count) == 1, "interpose");
        obzx_objid** secondaries = nullptr;
        int32_t secondaryCount = 0;
        need(m_host.call().claim(interposed, &secondaries, &secondaryCount) == OBZ_CLAIM_SECONDARY, "claim");
        setUpGroup(groups[0]->name);
        m_nodes.push_back(std::make_unique<CNode>(interposed->name));
        obzx_free_objid(interposed);
        obzx_free_objid_array(groups, count);
        need(m_host.call().init_node(m_nodes.back()->get(), nullptr, 0, nullptr) == OBZ_OK, "init_node");
        m_splits.push_back(m_nodes.back()->split());
    }
}

void CBackup::setUpGroup(const std::string& group)
{
    if (group == m_lastGroup) return;  // a site lists its disks group by group
    m_lastGroup = group;
    m_groups.push_back(std::make_unique<CNode>(group));
    need(m_host.call().init_node(m_groups.back()->get(), nullptr, 0, nullptr) == OBZ_OK, "init_node of a group");
}

void CBackup::prepare(const std::string& session)
{
    const auto count = static_cast<int32_t>(m_splits.size());
    need(m_host.call().select(nullptr, session.c_str(), m_splits.data(), count) == OBZ_OK, "select");
    need(m_host.call().prepare(nullptr, session.c_str(), m_splits.data(), count, 0) == OBZ_OK, "prepare");
}

int32_t CBackup::make(const std::string& session)
{
    const auto count = static_cast<int32_t>(m_splits.size());
    obzx_objid** identities = nullptr;
    int32_t made = 0;
    need(m_host.call().make(nullptr, session.c_str(), m_splits.data(), count, &identities, &made) == OBZ_OK, "make");
    obzx_free_objid_array(identities, made);
    return made;
}

void CBackup::import()
{
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        importNode(*m_nodes[i], m_disks[i]);
    }
}

void CBackup::importNode(CNode& node, const SDisk& disk)
{
    const SEntryPoints& call = m_host.call();
    CNode target(targetName(disk.serial));
    need(call.init_altnode(node.get(), nullptr, target.get()) == OBZ_OK, "init_altnode");
    obz_blob blob{};
    need(call.process_providerstate(node.get(), &blob, OBZ_STATE_GET) == OBZ_OK, "process_providerstate");
    std::string state(static_cast<const char*>(blob.data));
    obzx_free_buf(blob.data, blob.size);
    const size_t start = state.find("<TimeImage>") + sizeof "<TimeImage>" - 1;
    state.replace(start, state.find("</TimeImage>") - start, "KSV_Time_Image_" + suffix());
    blob = {state.size() + 1, state.data(), OBZ_ENCODING_STRING};
    need(call.process_providerstate(node.get(), &blob, OBZ_STATE_SET) == OBZ_OK, "process_providerstate");
    need(call.init_altnode(node.get(), nullptr, target.get()) == OBZ_OK, "second init_altnode");
    need(std::string(target.get()->identity->name).find("/dev/") == 0, "path of the image");
    call.deinit_node(target.get());
}

void CBackup::dispose()
{
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        CNode copy(targetName(m_disks[i].serial));
        need(m_host.call().dispose(m_nodes[i]->get(), copy.get(), nullptr, OBZ_DISP_REMOVE) == OBZ_OK, "dispose");
    }
}

void CBackup::takeDown()
{
    for (const auto& nodes : {&m_nodes, &m_groups}) {
        for (const auto& node : *nodes) {
            m_host.call().deinit_node(node->get());
        }
    }
    m_splits.clear();
    m_nodes.clear();
    m_groups.clear();
    m_lastGroup.clear();
}

}  // namespace bench
