// The document that `fictl snapshot receive` reads.
#include "fuzz/fuzz.h"
#include "host/src/error.h"
#include "host/src/names.h"
#include "host/src/record_document.h"

using fuzz::require;

namespace {

void requireUsable(const fictl::SSnapshot& snapshot)
{
    require(fictl::isSnapshotName(snapshot.name), "a name is a snapshot's");
    require(snapshot.state == fictl::EState::COMPLETE && snapshot.origin == "received", "it is a received snapshot");
    require(!snapshot.devices.empty(), "there are devices");
    for (const fictl::SDevice& device : snapshot.devices) {
        for (const std::string& text : {device.source, device.node, device.target, device.state.applianceName,
                                        device.state.consistencyGroup, device.state.serialNo})
            require(fictl::isPlainText(text) && !text.empty(), "no text that goes to an appliance or terminal is odd");
        require(device.state.checkPointName == snapshot.checkpoint, "there is one checkpoint");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const fictl::SSnapshot snapshot = fictl::readDocument(fuzz::textOf(data, size));
        requireUsable(snapshot);
        const std::string written = fictl::writeDocument(snapshot);
        require(fictl::writeDocument(fictl::readDocument(written)) == written, "what is written is read back the same");
    } catch (const fictl::EFictl& error) {
        require(error.exit() == fictl::EExit::BAD_RECORD, "what cannot be read is a bad record");
        require(fictl::isPlainText(error.what()), "the reason can be shown on a terminal");
    }
    return 0;
}
