#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <string>
#include <vector>

#include "framework/include/cfioutputtext.h"
#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

class CFiExecAhead;
class CProgramRun;

/// Results of CFiExecPipeBase::Exec.
enum EExecResult : int
{
    EXEC_OK = 0,
    EXEC_FAILED = 11,     ///< failed, was killed, or could not be started
    EXEC_TIMED_OUT = 12,  ///< the process group was stopped
    EXEC_TOO_LONG = 13,   ///< the output passed a bound; the process group was stopped
};

/// What the output of a program may come to. No bound is below the bytes that are read at once.
struct SFiOutputBounds
{
    static constexpr size_t LEAST = size_t{64} * 1024;
    static constexpr size_t NONE = std::numeric_limits<size_t>::max();

    size_t bytes = size_t{256} * 1024 * 1024;  ///< at least LEAST
    size_t lines = NONE;                       ///< a last one without its end counts
    size_t lineLength = NONE;                  ///< bytes without the line's end; at least LEAST
};

/// The bound that an output passed.
enum class EFiOutputBound : uint8_t
{
    NONE,
    BYTES,
    LINES,
    LINE_LENGTH,
};

/// What went wrong in a run.
struct SFiExecError
{
    std::string message;
    std::wstring wideMessage;
    int result = 0;  ///< EExecResult
    long code = 0;   ///< exit status, 128 + signal, or errno when the program could not be started
    EFiOutputBound bound = EFiOutputBound::NONE;  ///< of EXEC_TOO_LONG
};

/// A failed run, thrown by those who need its output.
class OBZX_API EFiExecPipe : public std::exception
{
  public:
    explicit EFiExecPipe(SFiExecError error) : m_error(std::move(error)) {}
    ~EFiExecPipe() override;
    const char* what() const noexcept override { return m_error.message.c_str(); }
    const SFiExecError& error() const { return m_error; }

  private:
    SFiExecError m_error;
};

/**
 * Runs a program and collects its output.
 *
 * The command line is split into words at blanks, honouring double quotes, and started without a shell in a process
 * group of its own. Standard input is the input file, or nothing for an empty name; standard output and standard error
 * arrive as one stream of lines without their line ends (a last line without a newline counts). The child gets
 * LC_ALL=C, default signal handling and no other descriptor of the host; the host's signal handling is not touched.
 * Section FI_EXEC, MAX_TIMEOUT (seconds) of the configuration store of the trace log's component caps every time-out;
 * 0, the default, caps none, and so does a value that is not a whole number from 0 to 2^31 - 1. The store is read again
 * when it has changed. Without a trace log nothing is capped. One run at a time per object; the host's environment must
 * not be changed while a run starts.
 */
class OBZX_API CFiExecPipeBase : public CFiTraceable
{
  public:
    ~CFiExecPipeBase() override;

    /**
     * Runs a program and waits until it has ended and its output was read.
     *
     * @param lines      output lines; appended to, also by a run that failed (of one that was too long the first MiB)
     * @param inputFile  path as it stands; empty for no input
     * @param timeout    seconds
     * @param directory  working directory; empty: the host's
     * @param user       reserved, must be empty
     * @param environment "NAME=value" added to the child's environment; empty: nothing
     * @return an EExecResult; getError() tells more of it until the next run
     * @throw std::bad_alloc; a program that was started is killed first
     */
    virtual int Exec(const std::string& commandLine, std::vector<std::string>& lines, const std::string& inputFile,
                     unsigned long timeout, const std::string& directory, const std::string& user,
                     const std::string& environment) = 0;
    const SFiExecError& getError() const { return m_error; }  ///< of the last run
    /// For the runs from now on, but not for those that were begun ahead.
    void setBounds(const SFiOutputBounds& bounds) { m_bounds = bounds; }

  protected:
    SFiExecError m_error;
    SFiOutputBounds m_bounds;
};

/// The runner of this system.
class OBZX_API CFiExecPipePosix : public CFiExecPipeBase
{
  public:
    /// @param mergeErrorStream 1: standard error arrives in the same stream (the only mode there is)
    explicit CFiExecPipePosix(int mergeErrorStream);
    ~CFiExecPipePosix() override;
    int Exec(const std::string& commandLine, std::vector<std::string>& lines, const std::string& inputFile,
             unsigned long timeout, const std::string& directory, const std::string& user,
             const std::string& environment) override;
    /// The same for an output of many lines, each of which would cost memory of its own in a list: it is handed over as
    /// it came, in place of what the text held; empty when nothing was started.
    int Exec(const std::string& commandLine, CFiOutputText& text, const std::string& inputFile, unsigned long timeout,
             const std::string& directory, const std::string& user, const std::string& environment);
    /// The same for a run that was begun ahead: what is left of it is done now, and what came of it is told and traced
    /// as that of a run begun by this call. Asked for once, on the thread that began it.
    int Exec(CFiExecAhead& ahead, size_t begun, CFiOutputText& text);

  private:
    int finish(CProgramRun& run, CFiOutputText& text);
};

}  // namespace obzx_pdk_4_4
