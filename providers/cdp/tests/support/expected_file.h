#pragma once

#include <string>

namespace cdpfi {

/**
 * Compares a text with a file of the running test, <folder>/<suite>/<test><suffix>. The instance of a test with
 * parameters is a part of the name: <test>.<instance><suffix>.
 *
 * With WRITE_EXPECTED=<place> in the environment nothing is compared: the text is written below that place, which then
 * holds the files that the tests ask for and no other. script/expected works with this.
 * @param folder the folder of expected files beside the test's source, as a path in the source tree
 * @param suffix such as ".trace", or ".second_call.trace" where a test compares several texts
 */
void expectFile(const std::string& folder, const std::string& suffix, const std::string& actual);

}  // namespace cdpfi
