// cdpfi-inspect: reports what is there now without starting the provider.
#include <csignal>

#include "pdk/include/cfipluginname.h"
#include "providers/cdp/inspect/inspect_command_line.h"

const ACE_String_Base<char> cfi_pgn_name_tstr("cdpfi");
const std::wstring cfi_pgn_name_wstr(L"cdpfi");
const std::string cfi_pgn_name_str("cdpfi");

int main(int argc, char** argv)
{
    // A document that finds no room is told like one on a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    return cdpfi::inspect::runCommandLine(argc, argv);
}
