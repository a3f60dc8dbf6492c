#include "host/src/commands/cli.h"
#include "host/src/process/signals.h"
#include "host/src/process/standard_files.h"
#include "host/src/provider_check/check_process.h"

int main(int argc, char** argv)
{
    fictl::fillClosedStandardFiles();
    if (fictl::isCheckProcess(argc, argv)) return fictl::runCheckProcess(argc, argv);
    fictl::installSignalHandling();
    return fictl::runCommandLine(argc, argv);
}
