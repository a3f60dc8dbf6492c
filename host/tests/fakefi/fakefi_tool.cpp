// The shell of the test appliances: carries a script from standard input out, says what came of it, and exits with the
// status of that. FAKEFI_HOST in the environment is the process id of fictl.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>

#include "host/tests/fakefi/appliance.h"

int main()
{
    const char* const host = std::getenv("FAKEFI_HOST");  // NOLINT(concurrency-mt-unsafe)
    const CStore store;
    const CFaults faults(store, host == nullptr ? 0 : std::atoi(host));
    const std::string script(std::istreambuf_iterator<char>(std::cin), {});
    const SAnswer answer = CAppliance(store, faults).run(script);
    std::fputs(answer.text.c_str(), answer.status == 0 ? stdout : stderr);
    return answer.status;
}
