#include "appliance/core/faults/faulty_tool.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <random>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/faults/torn_engine.h"

namespace lumora {

namespace {

[[noreturn]] void hang()
{
    for (;;) {
        ::pause();
    }
}

[[noreturn]] void die()
{
    ::raise(SIGKILL);
    hang();
}

void before(const SFault& fault)
{
    switch (fault.kind) {
        case EFault::ERROR:
            throw EApplianceError(EStatus::UNEXPECTED, "refused by fault " + std::to_string(fault.id));
        case EFault::SLOW:
            std::this_thread::sleep_for(std::chrono::milliseconds(fault.milliseconds));
            return;
        case EFault::HANG:
            hang();
        case EFault::KILL_BEFORE:
            die();
        default:
            return;
    }
}

// Printable noise in the shape of the answer, the same for the same answer.
void garble(std::string& answer)
{
    std::minstd_rand noise;
    for (char& byte : answer) {
        if (byte != '\n') byte = static_cast<char>('!' + noise() % ('~' - '!' + 1));
    }
}

void after(const SFault& fault, std::string& answer)
{
    switch (fault.kind) {
        case EFault::GARBLE:
            garble(answer);
            return;
        case EFault::CUT:
            answer.resize(std::min(answer.size(), static_cast<size_t>(fault.bytes)));
            return;
        case EFault::LOST:
            throw EApplianceError(EStatus::UNEXPECTED,
                                  "the connection to the appliance was lost by fault " + std::to_string(fault.id));
        case EFault::KILL_AFTER:
            die();
        case EFault::HANG_AFTER:
            hang();
        default:
            return;
    }
}

}  // namespace

void runCommand(const CFaultTable& faults, const std::string& text, CBaseStorageEngine& engine,
                const ToolCommand& command)
{
    const std::optional<SStrike> strike = faults.strike(text);
    if (!strike) {
        printLines(command(engine));
        return;
    }
    const SFault& fault = strike->fault;
    CTornEngine torn(engine, std::chrono::milliseconds(fault.milliseconds));
    std::string answer;
    std::exception_ptr refusal;
    try {
        before(fault);
        for (const std::string& line :
             command(fault.kind == EFault::TEAR ? static_cast<CBaseStorageEngine&>(torn) : engine)) {
            answer += line + '\n';
        }
    } catch (const EApplianceError&) {
        refusal = std::current_exception();
    }
    faults.noteEnd(*strike);
    after(fault, answer);
    if (refusal) std::rethrow_exception(refusal);
    printBytes(answer);
}

}  // namespace lumora
