// Gives every file of a corpus folder to a fuzz target; what replaces the fuzzer in builds without one.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/fuzz.h"

namespace {

std::vector<std::filesystem::path> inputsOf(const char* folder)
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    std::fprintf(stderr, "%s\n", file.filename().c_str());  // the last one named is the one that failed
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    const std::vector<std::filesystem::path> inputs = inputsOf(argv[1]);
    for (const std::filesystem::path& input : inputs) {
        replay(input);
    }
    std::fprintf(stderr, "%zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
