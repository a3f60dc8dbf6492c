#include "host/src/doctor/doctor.h"

#include "host/src/commands/commands.h"
#include "host/src/guardian/guardian.h"

namespace fictl {

namespace {

SResult runDoctor(const SContext& context)
{
    const CGuardian guardian;
    const SDoctorOrder order = {.provider = context.chosenProvider(),
                                .timeout = context.timeout.count() == 0 ? DOCTOR_PATIENCE : context.timeout,
                                .progress = context.progress};
    const Checks checks = diagnose(order).checks;
    SResult result = resultOf(doctorJson(checks), checksText(checks));
    result.exit = isHealthy(checks) ? EExit::OK : EExit::FAILED;
    return result;
}

}  // namespace

CommandRun declareDoctor(COptions& /*options*/)
{
    return runDoctor;
}

}  // namespace fictl
