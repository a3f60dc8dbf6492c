// What the answers to "show host", "show cgroup" and "show timeimage" tell beyond their LUNs.
#include "providers/cdp/lmr/listings/lmr_listing_details.h"

#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"

using cdpfi::SLMRAnnotation;
using cdpfi::SLMRGroupDetails;
using cdpfi::SLMRImageDetails;
using fuzz::require;
using fuzz::requireRead;

namespace {

using CLines = std::vector<std::string>;
using CNames = std::optional<std::vector<std::string_view>>;

void requireHosts(const CNames& hosts, const CLines& lines)
{
    if (!hosts) return;
    for (const std::string_view host : *hosts) {
        requireRead(host, lines);
        require(cdpfi::isHostName(host), "who is granted something is a host");
    }
}

void checkGroup(const CLines& lines)
{
    const SLMRGroupDetails details = cdpfi::parseGroupDetails(lines);
    requireHosts(details.permissions, lines);
    for (const std::string_view image : details.images) {
        requireRead(image, lines);
    }
    if (!details.annotations) return;
    CLines written{"Annotations:"};
    for (const SLMRAnnotation& annotation : *details.annotations) {
        require(fuzz::isWithin(annotation.name, lines), "a name lies within a line");
        require(!annotation.name.empty() && annotation.name.find('"') == std::string_view::npos, "a name is quotable");
        if (annotation.time) requireRead(*annotation.time, lines);
        if (annotation.message) require(fuzz::isWithin(*annotation.message, lines), "a message lies within a line");
        written.push_back('"' + std::string(annotation.name) + "\" " + std::string(annotation.time.value_or("")));
        if (annotation.message) written.back() += " \"" + std::string(*annotation.message) + "\" images=1";
    }
    written.emplace_back("Time images:");
    const SLMRGroupDetails again = cdpfi::parseGroupDetails(written);
    require(again.annotations && again.annotations->size() == details.annotations->size(), "all are read back");
    for (size_t i = 0; i < again.annotations->size(); ++i) {
        const SLMRAnnotation& expected = (*details.annotations)[i];
        const SLMRAnnotation& actual = (*again.annotations)[i];
        require(actual.name == expected.name && actual.time == expected.time && actual.message == expected.message,
                "annotations that are written are read back the same");
    }
}

void checkImage(const CLines& lines)
{
    const SLMRImageDetails details = cdpfi::parseTimeImageDetails(lines);
    requireHosts(details.permissions, lines);
    for (const auto& field : {details.annotation, details.created}) {
        if (!field) continue;
        requireRead(*field, lines);
        require(!field->empty(), "a field without a text is not told");
    }
}

void checkHost(const CLines& lines)
{
    const CNames serials = cdpfi::parsePresentedLuns(lines);
    if (!serials) return;
    CLines written{"Presented LUNs:"};
    for (const std::string_view serial : *serials) {
        requireRead(serial, lines);
        written.push_back("/dev/x [" + std::string(serial) + "] 1GB");
    }
    require(cdpfi::parsePresentedLuns(written) == serials, "LUNs that are written are read back the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const CLines lines = fuzz::linesOf(data, size);
    checkGroup(lines);
    checkImage(lines);
    checkHost(lines);
    return 0;
}
