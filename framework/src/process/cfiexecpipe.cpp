#include "framework/include/cfiexecpipe.h"

#include "framework/include/cfiexecahead.h"
#include "framework/src/process/exec_limit.h"
#include "framework/src/process/program_run.h"

namespace obzx_pdk_4_4 {

EFiExecPipe::~EFiExecPipe() = default;

CFiExecPipeBase::~CFiExecPipeBase() = default;

// Both streams always arrive merged; the argument stays because callers state what they rely on.
CFiExecPipePosix::CFiExecPipePosix(int /*mergeErrorStream*/) {}

CFiExecPipePosix::~CFiExecPipePosix() = default;

int CFiExecPipePosix::Exec(const std::string& commandLine, std::vector<std::string>& lines,
                           const std::string& inputFile, unsigned long timeout, const std::string& directory,
                           const std::string& user, const std::string& environment)
{
    CFiOutputText text;
    Exec(commandLine, text, inputFile, timeout, directory, user, environment);
    text.appendLinesTo(lines);
    return m_error.result;
}

int CFiExecPipePosix::Exec(const std::string& commandLine, CFiOutputText& text, const std::string& inputFile,
                           unsigned long timeout, const std::string& directory, const std::string& user,
                           const std::string& environment)
{
    text = {};
    CProgramRun run(commandLine, limitOf(m_traceLog, timeout), m_bounds);
    run.start(inputFile, directory, user, environment);
    return finish(run, text);
}

int CFiExecPipePosix::Exec(CFiExecAhead& ahead, size_t begun, CFiOutputText& text)
{
    text = {};
    const std::unique_ptr<CProgramRun> run = ahead.take(begun);
    return finish(*run, text);
}

int CFiExecPipePosix::finish(CProgramRun& run, CFiOutputText& text)
{
    while (!run.isOver()) {
        run.wait();
    }
    m_error = run.error();
    if (run.wasStopped()) trace(TRACE_FAILURE, "CFiExecPipePosix::Exec - %s", m_error.message);
    text = run.takeText();
    return m_error.result;
}

}  // namespace obzx_pdk_4_4
