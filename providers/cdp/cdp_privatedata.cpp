#include "providers/cdp/cdp_privatedata.h"

#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "framework/include/obzx_runtime.h"
#include "providers/cdp/cdp_state_text.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

namespace {

struct SField
{
    const char* m_tag;
    CString CCDPPrivateData::*m_value;
};

constexpr SField WRITE_ORDER[] = {
    {"ApplianceType", &CCDPPrivateData::m_applianceType},       {"ApplianceName", &CCDPPrivateData::m_applianceName},
    {"ConsistencyGroup", &CCDPPrivateData::m_consistencyGroup}, {"TimeImage", &CCDPPrivateData::m_timeImage},
    {"CheckPointName", &CCDPPrivateData::m_checkPointName},     {"SerialNo", &CCDPPrivateData::m_serialNo},
};

constexpr SField READ_ORDER[] = {
    {"ApplianceName", &CCDPPrivateData::m_applianceName}, {"ApplianceType", &CCDPPrivateData::m_applianceType},
    {"SerialNo", &CCDPPrivateData::m_serialNo},           {"CheckPointName", &CCDPPrivateData::m_checkPointName},
    {"TimeImage", &CCDPPrivateData::m_timeImage},         {"ConsistencyGroup", &CCDPPrivateData::m_consistencyGroup},
};

std::string openTagOf(const char* tag)
{
    return std::string("<") + tag + ">";
}
std::string closeTagOf(const char* tag)
{
    return std::string("</") + tag + ">";
}

// The text of a blob: up to its first NUL, and never past its size.
std::string_view textOfBlob(const obz_blob& blob)
{
    const auto* bytes = static_cast<const char*>(blob.data);
    return {bytes, strnlen(bytes, blob.size)};
}

}  // namespace

CCDPPrivateData::CCDPPrivateData(obzx_objid* identity, bool isAltNode) : CFiPrivateData(identity, isAltNode) {}

CCDPPrivateData::~CCDPPrivateData() = default;

int32_t CCDPPrivateData::getNodeState(obz_blob* blob) const
{
    std::string text;
    for (const SField& field : WRITE_ORDER) {
        text += openTagOf(field.m_tag);
        text += bytesOf(this->*field.m_value);
        text += closeTagOf(field.m_tag) + "\n";
    }
    const size_t size = text.size() + 1;
    void* data = obzx_alloc_buf(size);
    if (data == nullptr) throw std::bad_alloc();
    std::memcpy(data, text.c_str(), size);
    blob->size = size;
    blob->data = data;
    blob->encoding = OBZ_ENCODING_STRING;
    return OBZ_OK;
}

int32_t CCDPPrivateData::setNodeState(const obz_blob* blob)
{
    const obzx_pdk_4_4::CFiTraceLogFunction tracer(m_traceLog, "setNodeState", __LINE__, __FILE__);
    if (blob->data == nullptr || blob->size == 0) return OBZ_OK;
    if (blob->encoding != OBZ_ENCODING_STRING) {
        trace(obzx_pdk_4_4::TRACE_FAILURE, "setNodeState() Blob uses non-string encoding.");
        return OBZ_OK;
    }
    const std::string_view text = textOfBlob(*blob);
    CString values[std::size(READ_ORDER)];
    CString* value = values;
    for (const SField& field : READ_ORDER) {
        const std::string open = openTagOf(field.m_tag);
        const STagPosition position = findTags(text, open, closeTagOf(field.m_tag));
        trace(obzx_pdk_4_4::TRACE_INFO, "CCDPPrivateData::setNodeState pos1 = %d pos2= %d",
              static_cast<int32_t>(position.m_open), static_cast<int32_t>(position.m_close));
        textOf(taggedValue(text, position, open.size())).swap(*value++);
    }
    // Nothing can fail from here on: a record holds one state, never half of another.
    value = values;
    for (const SField& field : READ_ORDER) {
        (this->*field.m_value).swap(*value++);
    }
    return OBZ_OK;
}

}  // namespace cdpfi
