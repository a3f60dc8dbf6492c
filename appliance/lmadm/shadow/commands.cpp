#include <nlohmann/json.hpp>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/file_io.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"
#include "appliance/lmadm/shadow/shadow.h"

namespace lumora {

void fillFromInspection(const SOptions& options, const std::string& file)
{
    constexpr size_t LONGEST = size_t{256} * 1024 * 1024;
    CSession session(options, CStore::EMode::CREATE);
    try {
        const Json inspection = Json::parse(readSmallFile(file, LONGEST));
        printRecord(fillShadow(session.store(), inspection), options.output);
    } catch (const nlohmann::json::exception& error) {
        throw EApplianceError(EStatus::MALFORMED, inQuotes(file) + " is no document of an inspector: " + error.what());
    }
}

}  // namespace lumora
