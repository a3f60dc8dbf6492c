#include "appliance/core/faults/faulty_tool.h"

#include <exception>
#include <memory>

#include "appliance/core/conventions/error.h"

namespace lumora {

void runCommand(const CFaultTable& faults, const std::string& text, CBaseStorageEngine* engine,
                const ToolCommand& command)
{
    const std::optional<SStrike> strike = faults.strike(text);
    if (!strike) {
        printLines(command(engine));
        return;
    }
    const SFault& fault = strike->fault;
    const std::unique_ptr<CBaseStorageEngine> inFront =
        fault.kind->engine != nullptr && engine != nullptr ? fault.kind->engine(fault, *engine) : nullptr;
    std::string answer;
    std::exception_ptr refusal;
    try {
        if (fault.kind->before != nullptr) fault.kind->before(fault);
        for (const std::string& line : command(inFront ? inFront.get() : engine)) {
            answer += line + '\n';
        }
    } catch (const EApplianceError&) {
        refusal = std::current_exception();
    }
    faults.noteEnd(*strike);
    if (fault.kind->after != nullptr) fault.kind->after(fault, answer);
    if (refusal) std::rethrow_exception(refusal);
    printBytes(answer);
}

}  // namespace lumora
