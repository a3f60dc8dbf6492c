// The state of a node as a host brings it in: a blob that need not end in a NUL.
#include "framework/include/obzx_runtime.h"
#include "fuzz/fuzz.h"
#include "providers/cdp/cdp_privatedata.h"
#include "providers/cdp/cdp_text.h"

using cdpfi::CCDPPrivateData;
using cdpfi::CString;
using fuzz::require;

namespace {

constexpr CString CCDPPrivateData::*FIELDS[] = {
    &CCDPPrivateData::m_applianceType, &CCDPPrivateData::m_applianceName,  &CCDPPrivateData::m_serialNo,
    &CCDPPrivateData::m_timeImage,     &CCDPPrivateData::m_checkPointName, &CCDPPrivateData::m_consistencyGroup};

void read(CCDPPrivateData& state, void* bytes, size_t size)
{
    const obz_blob blob{size, bytes, OBZ_ENCODING_STRING};
    require(state.setNodeState(&blob) == OBZ_OK, "a state is always taken");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CCDPPrivateData state(nullptr, false);
    read(state, const_cast<uint8_t*>(data), size);
    bool plain = true;
    for (const auto field : FIELDS) {
        const std::string_view value = cdpfi::bytesOf(state.*field);
        require(fuzz::textOf(data, size).find(value) != std::string_view::npos, "a value stands in the state");
        require(value.find('\0') == std::string_view::npos, "the state ends at its first NUL");
        plain = plain && value.find('<') == std::string_view::npos;
    }

    obz_blob written{};
    require(state.getNodeState(&written) == OBZ_OK, "a state can be written");
    CCDPPrivateData again(nullptr, false);
    read(again, written.data, written.size);
    obzx_free_buf(written.data, written.size);
    for (const auto field : FIELDS) {
        require(!plain || state.*field == again.*field, "a state that is written is read back the same");
    }
    return 0;
}
