#include "host/src/provider/node.h"

#include <algorithm>
#include <new>

#include "framework/include/obzx_runtime.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

CNode::CNode(CProvider& provider, const std::string& name)
    : m_provider(provider), m_name(name), m_ownIdentity(obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE))
{
    if (m_ownIdentity == nullptr) throw std::bad_alloc();
    m_record.identity = m_ownIdentity;
    m_record.access = &m_access;
}

CNode::~CNode()
{
    if (m_attached) {
        const std::lock_guard guard(m_provider.nodeLock());
        m_provider.call().deinit_node(&m_record);
    }
    // An import puts an identity of its own into the record; the first one is still to be freed here.
    if (m_record.identity != m_ownIdentity) obzx_free_objid(m_record.identity);
    obzx_free_objid(m_ownIdentity);
}

int32_t CNode::init()
{
    const std::lock_guard guard(m_provider.nodeLock());
    attach();
    return m_provider.call().init_node(&m_record, nullptr, 0, nullptr);
}

std::string CNode::identityName() const
{
    const obzx_objid* const identity = m_record.identity;
    return identity == nullptr || identity->name == nullptr ? std::string() : identity->name;
}

SNodeState CNode::state()
{
    obz_blob blob{};
    const int32_t status = m_provider.call().process_providerstate(&m_record, &blob, OBZ_STATE_GET);
    std::string text;
    if (blob.data != nullptr) {
        const char* const data = static_cast<const char*>(blob.data);
        text.assign(data, std::find(data, data + blob.size, '\0'));
        obzx_free_buf(blob.data, blob.size);
    }
    const std::optional<SNodeState> state =
        status == OBZ_OK && blob.encoding == OBZ_ENCODING_STRING ? parseNodeState(text) : std::nullopt;
    if (!state) {
        throw EFictl(EExit::FAILED, "node \"" + printable(m_name) + "\": the provider gave no usable state (status " +
                                        std::to_string(status) + ")")
            .withReport(m_provider.takeReport());
    }
    return *state;
}

void CNode::setState(const SNodeState& state)
{
    std::string text = writeNodeState(state);
    // The blob holds the terminating NUL too.
    obz_blob blob{text.size() + 1, text.data(), OBZ_ENCODING_STRING};
    attach();
    const int32_t status = [&] {
        const std::lock_guard guard(m_provider.nodeLock());
        return m_provider.call().process_providerstate(&m_record, &blob, OBZ_STATE_SET);
    }();
    if (status != OBZ_OK) {
        throw EFictl(EExit::FAILED, "node \"" + printable(m_name) + "\": the provider did not take its state (status " +
                                        std::to_string(status) + ")")
            .withReport(m_provider.takeReport());
    }
}

}  // namespace fictl
