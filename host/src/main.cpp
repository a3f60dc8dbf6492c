#include "host/src/commands/cli.h"
#include "host/src/process/signals.h"
#include "host/src/process/standard_files.h"

int main(int argc, char** argv)
{
    fictl::fillClosedStandardFiles();
    fictl::installSignalHandling();
    return fictl::runCommandLine(argc, argv);
}
