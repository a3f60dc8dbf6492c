#include "host/src/cli.h"
#include "host/src/signals.h"
#include "host/src/standard_files.h"

int main(int argc, char** argv)
{
    fictl::fillClosedStandardFiles();
    fictl::installSignalHandling();
    return fictl::runCommandLine(argc, argv);
}
