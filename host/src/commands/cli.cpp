#include "host/src/commands/cli.h"

#include <unistd.h>

#include "framework/include/obzx_runtime.h"
#include "host/src/commands/answer.h"
#include "host/src/commands/command_line.h"
#include "host/src/output/error.h"
#include "host/src/process/other_process.h"

namespace fictl {

namespace {

SResult run(const SCommandLine& line)
{
    const SContext context{
        .provider = line.provider,
        .progress = CProgress(line.isVerbose || isatty(STDERR_FILENO) == 1, std::make_shared<CHeartbeat>()),
        .timeout = line.timeout,
    };
    obzx_set_run_limit(static_cast<uint64_t>(line.timeout.count()));
    return line.run(context);
}

CAnswer answerFor(const SCommandLine& line)
{
    return CAnswer(line.output == "json" ? CAnswer::EForm::JSON : CAnswer::EForm::TABLE);
}

}  // namespace

int runCommandLine(int argc, char** argv)
{
    SCommandLine line;
    try {
        readCommandLine(argc, argv, line);
        const SResult result = run(line);
        return answerFor(line).done(result);
    } catch (const SEndedElsewhere& ended) {
        return ended.exit;
    } catch (const EFictl& error) {
        return answerFor(line).failed(error);
    } catch (const std::exception& error) {
        return answerFor(line).failed(
            EFictl(EExit::INTERNAL, std::string("unexpected: ") + error.what(), "fictl snapshot list"));
    }
}

}  // namespace fictl
