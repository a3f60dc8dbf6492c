#include "host/src/cli.h"
#include "host/src/signals.h"

int main(int argc, char** argv)
{
    fictl::installSignalHandling();
    return fictl::runCommandLine(argc, argv);
}
