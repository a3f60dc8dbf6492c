// The document that `fictl snapshot receive` reads.
#include <optional>

#include "fuzz/fuzz.h"
#include "host/src/catalog/record_document.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

using fuzz::require;

namespace {

void requireUsable(const fictl::SSnapshot& snapshot)
{
    require(fictl::isSnapshotName(snapshot.name), "a name is a snapshot's");
    require(snapshot.state == fictl::EState::COMPLETE && snapshot.origin == "received", "it is a received snapshot");
    require(!snapshot.devices.empty(), "there are devices");
    for (const fictl::SDevice& device : snapshot.devices) {
        for (const std::string& text : {device.source, device.node, device.target, device.state.applianceName,
                                        device.state.consistencyGroup, device.state.serialNo}) {
            require(fictl::isPlainText(text) && !text.empty(), "no text that goes to an appliance or terminal is odd");
        }
        require(device.state.checkPointName == snapshot.checkpoint, "there is one checkpoint");
    }
}

std::optional<fictl::SSnapshot> read(std::string_view text)
{
    try {
        return fictl::readDocument(text);
    } catch (const fictl::EFictl& error) {
        require(error.exit() == fictl::EExit::BAD_RECORD, "what cannot be read is a bad record");
        require(fictl::isPlainText(error.what()), "the reason can be shown on a terminal");
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::optional<fictl::SSnapshot> snapshot = read(fuzz::textOf(data, size));
    if (!snapshot) return 0;
    requireUsable(*snapshot);
    const std::string written = fictl::writeDocument(*snapshot);
    const std::optional<fictl::SSnapshot> again = read(written);
    require(again && fictl::writeDocument(*again) == written, "what is written is read back the same");
    return 0;
}
