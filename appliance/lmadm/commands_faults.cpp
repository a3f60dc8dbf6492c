#include <cmath>
#include <memory>

#include "appliance/core/conventions/error.h"
#include "appliance/core/faults/fault_table.h"
#include "appliance/lmadm/commands.h"

namespace lumora {

namespace {

CFaultTable table(CSession& session)
{
    return CFaultTable(session.store().layout());
}

Json describe(const SFault& fault)
{
    Json document = {
        {"fault", fault.id},    {"kind", fault.kind->word}, {"match", fault.match},         {"nth", fault.nth},
        {"times", fault.times}, {"seen", fault.seen},       {"struck", fault.struck.size()}};
    if (fault.kind->takes == EFaultTakes::SECONDS) {
        document["seconds"] = static_cast<double>(fault.milliseconds) / 1000;
    }
    if (fault.kind->takes == EFaultTakes::BYTES) document["at"] = fault.bytes;
    return document;
}

struct SArmArguments
{
    std::string kind;
    SFault fault;
    double seconds = 1;
    bool hasSeconds = false;
    bool hasBytes = false;
};

SFault checked(const SArmArguments& given)
{
    SFault fault = given.fault;
    fault.kind = &parseFaultKind(given.kind);
    const bool takesSeconds = fault.kind->takes == EFaultTakes::SECONDS;
    if (given.hasSeconds && !takesSeconds) {
        throw EApplianceError(EStatus::MALFORMED,
                              "--seconds goes with " + wordsOf(kindsThatTake(EFaultTakes::SECONDS), " and ") + " only");
    }
    if (std::isnan(given.seconds)) {  // no range refuses it
        throw EApplianceError(EStatus::MALFORMED, "--seconds is no number");
    }
    if (given.hasBytes != (fault.kind->takes == EFaultTakes::BYTES)) {
        const std::string words = wordsOf(kindsThatTake(EFaultTakes::BYTES), " and ");
        throw EApplianceError(EStatus::MALFORMED, "--at BYTE goes with " + words + ", and " + words + " needs it");
    }
    fault.milliseconds = takesSeconds ? std::llround(given.seconds * 1000) : 0;
    if (fault.match.empty()) fault.match = fault.kind->match;
    return fault;
}

void addArm(CLI::App& parent, const SOptions& options)
{
    CLI::App* const command = parent.add_subcommand("arm", "Arm a fault for commands that lmsh and kforutil will get");
    const auto given = std::make_shared<SArmArguments>();
    command->add_option("kind", given->kind, wordsOf(faultKinds(), " or "))->required();
    command->add_option("--match", given->fault.match, "Only commands that hold this text (default: any)");
    command->add_option("--nth", given->fault.nth, "The first command that it strikes (default: 1)")
        ->check(CLI::Range(int64_t{1}, int64_t{1} << 40U));
    command->add_option("--times", given->fault.times, "Commands that it strikes, 0: until cleared (default: 1)")
        ->check(CLI::Range(int64_t{0}, int64_t{1} << 40U));
    CLI::Option* const seconds =
        command->add_option("--seconds", given->seconds, "Length of a pause (default: 1)")->check(CLI::Range(0.0, 1e6));
    CLI::Option* const bytes = command->add_option("--at", given->fault.bytes, "Bytes of the answer that are kept")
                                   ->check(CLI::Range(int64_t{0}, int64_t{1} << 40U));
    command->callback([given, seconds, bytes, &options] {
        given->hasSeconds = seconds->count() > 0;
        given->hasBytes = bytes->count() > 0;
        const SFault fault = checked(*given);
        CSession session(options);
        session.print(describe(table(session).arm(fault)));
    });
}

void addClear(CLI::App& parent, const SOptions& options)
{
    CLI::App* const command = parent.add_subcommand("clear", "Take faults back: the given ones, or all");
    const auto ids = std::make_shared<std::vector<int64_t>>();
    command->add_option("fault", *ids, "Numbers of faults (default: all)");
    command->callback([ids, &options] {
        CSession session(options);
        size_t cleared = ids->size();
        if (ids->empty()) {
            cleared = table(session).clearAll();
        } else {
            table(session).clear(*ids);
        }
        session.print({{"cleared", cleared}});
    });
}

}  // namespace

void addFaultCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent = *app.add_subcommand("fault", "Let commands of lmsh and kforutil fail, to try what happens then")
                            ->require_subcommand(1);
    addArm(parent, options);
    parent.add_subcommand("list", "List the armed faults with what they counted")->callback([&options] {
        CSession session(options);
        Json list = Json::array();
        for (const SFault& fault : table(session).list()) {
            Json document = describe(fault);
            document.erase("seconds");
            document.erase("at");
            list.push_back(std::move(document));
        }
        session.printList("faults", list);
    });
    CLI::App* const show = parent.add_subcommand("show", "Show one fault and the commands that it struck");
    const auto id = std::make_shared<int64_t>();
    show->add_option("fault", *id, "Number of the fault")->required();
    show->callback([id, &options] {
        CSession session(options);
        const SFault fault = table(session).get(*id);
        Json document = describe(fault);
        document["commands"] = Json::array();
        for (const SStruckCommand& command : fault.struck) {
            document["commands"].push_back({{"finished", command.finished}, {"command", command.text}});
        }
        session.print(document);
    });
    addClear(parent, options);
}

}  // namespace lumora
