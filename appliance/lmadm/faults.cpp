#include <cmath>
#include <nlohmann/json.hpp>

#include "appliance/core/conventions/error.h"
#include "appliance/core/faults/fault_table.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"

namespace lumora {

namespace {

CFaultTable table(CSession& session)
{
    return CFaultTable(session.store().layout());
}

Json describe(const SFault& fault)
{
    return {{"fault", fault.id},    {"kind", fault.kind->word}, {"match", fault.match},         {"nth", fault.nth},
            {"times", fault.times}, {"seen", fault.seen},       {"struck", fault.struck.size()}};
}

// With what only some kinds have, which is no column of a list.
Json describeWhole(const SFault& fault)
{
    Json document = describe(fault);
    if (fault.kind->takes == EFaultTakes::SECONDS) {
        document["seconds"] = static_cast<double>(fault.milliseconds) / 1000;
    }
    if (fault.kind->takes == EFaultTakes::BYTES) document["at"] = fault.bytes;
    return document;
}

SFault checked(const SNewFault& given)
{
    SFault fault;
    fault.kind = &parseFaultKind(given.kind);
    const bool takesSeconds = fault.kind->takes == EFaultTakes::SECONDS;
    if (given.seconds && !takesSeconds) {
        throw EApplianceError(EStatus::MALFORMED,
                              "--seconds goes with " + wordsOf(kindsThatTake(EFaultTakes::SECONDS), " and ") + " only");
    }
    const double seconds = given.seconds.value_or(1);
    if (std::isnan(seconds)) {  // no range refuses it
        throw EApplianceError(EStatus::MALFORMED, "--seconds is no number");
    }
    if (given.bytes.has_value() != (fault.kind->takes == EFaultTakes::BYTES)) {
        const std::string words = wordsOf(kindsThatTake(EFaultTakes::BYTES), " and ");
        throw EApplianceError(EStatus::MALFORMED, "--at BYTE goes with " + words + ", and " + words + " needs it");
    }
    fault.match = given.match.empty() ? std::string(fault.kind->match) : given.match;
    fault.nth = given.nth;
    fault.times = given.times;
    fault.milliseconds = takesSeconds ? std::llround(seconds * 1000) : 0;
    fault.bytes = given.bytes.value_or(0);
    return fault;
}

}  // namespace

void armFault(const SOptions& options, const SNewFault& given)
{
    const SFault fault = checked(given);
    CSession session(options);
    session.print(describeWhole(table(session).arm(fault)));
}

void listFaults(const SOptions& options)
{
    CSession session(options);
    Json list = Json::array();
    for (const SFault& fault : table(session).list()) {
        list.push_back(describe(fault));
    }
    session.printList("faults", list);
}

void showFault(const SOptions& options, const int64_t& id)
{
    CSession session(options);
    const SFault fault = table(session).get(id);
    Json document = describeWhole(fault);
    document["commands"] = Json::array();
    for (const SStruckCommand& command : fault.struck) {
        document["commands"].push_back({{"finished", command.finished}, {"command", command.text}});
    }
    session.print(document);
}

void clearFaults(const SOptions& options, const std::vector<int64_t>& ids)
{
    CSession session(options);
    size_t cleared = ids.size();
    if (ids.empty()) {
        cleared = table(session).clearAll();
    } else {
        table(session).clear(ids);
    }
    session.print({{"cleared", cleared}});
}

}  // namespace lumora
