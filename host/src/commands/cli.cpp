#include "host/src/commands/cli.h"

#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>

#include "framework/include/obzx_runtime.h"
#include "host/src/catalog/command_history.h"
#include "host/src/commands/answer.h"
#include "host/src/commands/command_line.h"
#include "host/src/commands/conversation_head.h"
#include "host/src/output/error.h"
#include "host/src/output/secrets.h"
#include "host/src/process/other_process.h"
#include "host/src/recording/recording.h"

namespace fictl {

namespace {

// The words for the fictl that carries a dry run out.
std::vector<std::string> dryWords(int argc, char** argv, const SCommandLine& line)
{
    if (!line.isDryRun) return {};
    if (!line.record.empty()) {
        throw EFictl(EExit::USAGE, "--dry-run asks the appliances nothing that could be recorded",
                     "leave --record away");
    }
    std::vector<std::string> words;
    bool isForm = false;  // of this one's answer
    for (std::string& word : harmlessWords(argc, argv, line.secrets)) {
        const bool isFormAlone = word == "--output" || word == "-o";
        const bool isOption =
            isFormAlone || word.starts_with("--output=") || word.starts_with("-o") || word == "--dry-run";
        if (!isForm && !isOption) words.push_back(std::move(word));
        isForm = !isForm && isFormAlone;
    }
    return words;
}

EForm formOf(const SCommandLine& line)
{
    if (line.output == "json") return EForm::JSON;
    if (line.output == "openmetrics") return EForm::METRICS;
    return line.output == "name" ? EForm::NAMES : EForm::TABLE;
}

SResult run(const SCommandLine& line, const std::string& shownLine, std::vector<std::string> dryRun)
{
    const SContext context{
        .form = formOf(line),
        .provider = line.provider,
        .progress = CProgress(line.isVerbose || isatty(STDERR_FILENO) == 1, std::make_shared<CHeartbeat>()),
        .timeout = line.timeout,
        .shownLine = shownLine,
        .dryRun = std::move(dryRun),
    };
    obzx_set_run_limit(static_cast<uint64_t>(line.timeout.count()));
    return line.run(context);
}

SHistoryEnd endOf(int exit, double frozenSeconds, std::string message)
{
    const std::chrono::duration<double> frozen(frozenSeconds);
    return {.exit = exit,
            .frozen = std::chrono::duration_cast<std::chrono::microseconds>(frozen),
            .message = std::move(message)};
}

CAnswer answerFor(const SCommandLine& line)
{
    return CAnswer(line.output == "json" ? CAnswer::EForm::JSON : CAnswer::EForm::TABLE);
}

EFictl unexpected(const std::exception& error)
{
    return {EExit::INTERNAL, std::string("unexpected: ") + error.what(), "fictl snapshot list"};
}

// Runs the command and writes what came of it.
SHistoryEnd runAndAnswer(const SCommandLine& line, const std::string& shownLine, std::vector<std::string> dryRun)
{
    CAnswer answer = answerFor(line);
    SHistoryEnd end;
    try {
        const SResult result = run(line, shownLine, std::move(dryRun));
        end = endOf(answer.done(result), result.frozenSeconds, "");
    } catch (const EFictl& error) {
        end = endOf(answer.failed(error), error.frozenSeconds(), error.what());
    } catch (const std::exception& error) {
        end = endOf(answer.failed(unexpected(error)), 0, error.what());
    }
    if (CRecording* const recording = CRecording::current()) recording->end(end.exit, answer.written());
    return end;
}

int runKnown(int argc, char** argv, const SCommandLine& line)
{
    const auto start = std::chrono::steady_clock::now();
    std::optional<CRecording> recording;
    const std::vector<std::string> secrets = secretValues(argc, argv, line.secrets);
    if (!line.record.empty()) {
        SConversationBegin begin = beginConversation(recordedWords(argc, argv, line), line.provider, secrets);
        recording.emplace(line.record, std::move(begin.head), std::move(begin.secrets));
    }
    std::optional<CCommandHistory> history;
    const std::string shownLine = shownCommandLine(argc, argv, line);
    if (line.isChange) history.emplace(shownLine);
    SHistoryEnd end = runAndAnswer(line, shownLine, dryWords(argc, argv, line));
    end.duration = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    end.message = CSecrets(secrets, "...").hidden(end.message);
    if (history) history->end(end);
    return end.exit;
}

}  // namespace

int runCommandLine(int argc, char** argv)
{
    SCommandLine line;
    try {
        readCommandLine(argc, argv, line);
        return runKnown(argc, argv, line);
    } catch (const SEndedElsewhere& ended) {
        return ended.exit;
    } catch (const EFictl& error) {
        return answerFor(line).failed(error);
    } catch (const std::exception& error) {
        return answerFor(line).failed(unexpected(error));
    }
}

}  // namespace fictl
