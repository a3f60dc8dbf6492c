#pragma once

#include <string>

#include "host/src/runs/run_log.h"

/// Records of runs as a test wants them.
namespace runs {

inline std::string script(const std::string& command)
{
    return "server alpha\n" + command + "\nexit\n";
}

inline fictl::SRunRecord of(const std::string& input)
{
    using namespace std::chrono_literals;
    fictl::SRunRecord run;
    run.arguments = {"/opt/appliance/lmsh"};
    run.input = input;
    run.inputSize = input.size();
    run.process = 4711;
    run.limitSeconds = 60;
    run.duration = 20ms;
    return run;
}

inline fictl::SRunRecord succeeded(const std::string& command)
{
    return of(script(command));
}

inline fictl::SRunRecord refused(const std::string& command, int status, const std::string& answer)
{
    fictl::SRunRecord run = of(script(command));
    run.result = 11;
    run.exitStatus = status;
    run.output = answer;
    run.outputSize = answer.size();
    return run;
}

inline fictl::SRunRecord timedOut(const std::string& command)
{
    using namespace std::chrono_literals;
    fictl::SRunRecord run = of(script(command));
    run.result = 12;
    run.signal = 15;
    run.stopped = fictl::EStop::LIMIT;
    run.duration = 60s;
    return run;
}

}  // namespace runs
