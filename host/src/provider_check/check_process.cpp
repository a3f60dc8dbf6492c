#include "host/src/provider_check/check_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "base/file_descriptor.h"
#include "base/file_write.h"
#include "host/src/guardian/program.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// The word by which fictl starts itself for one check, and the places of the words behind it.
constexpr const char* CHECK_WORD = "provider-check-process";
enum EWord
{
    WORD = 1,
    CHECK,
    LIBRARY,
    SECOND,
    DEVICE,
    ROOT,
    FOLDER,
    ROUNDS,
    WORD_COUNT,
};

constexpr const char* JOURNAL = "journal";
constexpr int FIRST_FREE_DESCRIPTOR = 100;

/// What a provider would have of the host: its files are to be the check's own, and no crash leaves a file.
void enter(char* const* argv)
{
    const fs::path folder = argv[FOLDER];
    const fs::path temporary = folder / "tmp";
    fs::create_directory(temporary);
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs yet
    setenv("OBZX_ROOT", argv[ROOT], 1);
    setenv("TMPDIR", temporary.c_str(), 1);
    setenv("HOME", folder.c_str(), 1);
    // NOLINTEND(concurrency-mt-unsafe)
    fs::current_path(folder);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

/// Takes standard output and standard error away from the provider; what standard output was.
int redirectOutputs(const fs::path& folder)
{
    const int outcome = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, FIRST_FREE_DESCRIPTOR);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        const fs::path file = folder / ("output" + std::to_string(descriptor));
        const base::CFileDescriptor opened(open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        if (!opened || dup2(opened.get(), descriptor) < 0) failFile("cannot make", file);
    }
    return outcome;
}

SCheckResult resultOfCheck(const SProviderCheck& check, SCheckSurroundings& surroundings)
{
    try {
        check.run(surroundings);
    } catch (const SViolation& violation) {
        return {&check, ECheckOutcome::FAIL, violation.call, violation.expected, violation.came};
    } catch (const SNoOccasion& none) {
        return {&check, ECheckOutcome::SKIP, "", "", none.reason};
    } catch (const std::exception& error) {
        return {&check, ECheckOutcome::FAIL, CSubject::lastCall(), "the check is made", error.what()};
    }
    return {&check, ECheckOutcome::PASS, "", "", "", surroundings.remark};
}

std::string joined(const std::vector<std::string>& calls)
{
    std::string text;
    for (const std::string& call : calls) {
        text += (text.empty() ? "" : " and ") + call;
    }
    return text.empty() ? "no call, or one that has returned" : text;
}

/// How the process ended that told nothing.
std::string endText(const SProgramEnd& end)
{
    if (end.timedOut) return "no end: it " + end.reason;
    return end.reason.empty() ? "the process ended" : "the process " + end.reason;
}

}  // namespace

SCheckResult makeCheck(const SProviderCheck& check, const SCheckOrder& order, const fs::path& folder)
{
    const fs::path own = folder / check.name;
    const fs::path root = order.root.empty() ? own / "root" : fs::path(order.root);
    fs::create_directory(own);
    if (order.root.empty()) {
        for (const char* const name : {"etc/qz", "var/log/qz", "tmp"}) {
            fs::create_directories(root / name);
        }
    }
    const CCallJournal journal(own / JOURNAL);
    const auto start = std::chrono::steady_clock::now();
    const SProgramEnd end = CProgram({"/proc/self/exe", CHECK_WORD, check.name, order.library, order.second,
                                      order.device, root, own, std::to_string(order.rounds)})
                                .within(order.limit)
                                .stoppingOnSignal(true)
                                .run();
    stopPoint();
    SCheckResult result;
    result.check = &check;
    const json document = json::parse(end.output, nullptr, false);
    if (end.exit != 0 || !readResult(document, result)) {
        result.outcome = ECheckOutcome::FAIL;
        result.call = joined(journal.underWay());
        result.expected = "it returns";
        result.came = endText(end);
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

bool isCheckProcess(int argc, char* const* argv)
{
    return argc == WORD_COUNT && std::strcmp(argv[WORD], CHECK_WORD) == 0;
}

int runCheckProcess(int argc, char* const* argv)
{
    const SProviderCheck* const check = isCheckProcess(argc, argv) ? findProviderCheck(argv[CHECK]) : nullptr;
    if (check == nullptr) return static_cast<int>(EExit::USAGE);
    try {
        enter(argv);
        const int outcome = redirectOutputs(argv[FOLDER]);
        CCallJournal journal(fs::path(argv[FOLDER]) / JOURNAL);
        SCheckSurroundings surroundings = {
            argv[LIBRARY], argv[SECOND], argv[DEVICE], argv[FOLDER], std::strtoul(argv[ROUNDS], nullptr, 10), journal};
        const SCheckResult result = resultOfCheck(*check, surroundings);
        const std::string text = toJson(result).dump(-1, ' ', false, json::error_handler_t::replace);
        base::writeWhole(outcome, text);
    } catch (const std::exception&) {
        _exit(static_cast<int>(EExit::IO));
    }
    _exit(0);  // nothing of the provider runs any more
}

}  // namespace fictl
