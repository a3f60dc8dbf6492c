// lmadm: builds and shows appliances.
#include <string>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/lmadm/command_line.h"
#include "appliance/lmadm/output.h"

namespace {

using namespace lumora;

std::string listCommand(EObject object)
{
    switch (object) {
        case EObject::APPLIANCE:
            return "lmadm appliance list";
        case EObject::HOST:
        case EObject::PERMISSION:
            return "lmadm host list";
        case EObject::GROUP:
            return "lmadm group list";
        case EObject::LUN:
            return "lmadm lun list";
        case EObject::FAULT:
            return "lmadm fault list";
        default:
            return "lmadm group show";
    }
}

// What to do next, for the person who reads the refusal.
std::string nextStep(const EApplianceError& error)
{
    switch (error.status()) {
        case EStatus::MISSING:
            return "see what exists: " + listCommand(error.object());
        case EStatus::EXISTS:
            return "choose another name, or delete the existing one first";
        case EStatus::IN_USE:
            return "remove what uses it first";
        case EStatus::STORAGE:
            return "check free space and access, then repeat the command";
        case EStatus::UNUSABLE:
            return "name the right folder with --store, or create a store: lmadm --store DIR appliance create NAME";
        default:
            return "see lmadm --help";
    }
}

}  // namespace

int main(int argc, char** argv)
{
    return runTool("lmadm", [argc, argv] {
        SOptions options;
        const auto isDocument = [&options] { return options.output == EOutput::JSON; };
        try {
            return runCommandLine(argc, argv, options);
        } catch (const EApplianceError& error) {
            const std::string next = nextStep(error);
            if (isDocument()) printRefusal(error.status(), error.what(), next);
            throw EApplianceError(error.status(), std::string(error.what()) + "; " + next);
        } catch (const std::exception& error) {
            if (isDocument()) printRefusal(EStatus::UNEXPECTED, error.what(), std::nullopt);
            throw;
        }
    });
}
