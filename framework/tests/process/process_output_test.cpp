// The text of a program, block by block.
#include "framework/src/process/process_output.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

namespace {

using obzx_pdk_4_4::CProcessOutput;

constexpr size_t BLOCK = size_t{64} * 1024;

// The lines of a text that is read from a file, which has all of it ready.
std::vector<std::string> linesOf(const std::string& text, size_t most = CProcessOutput::LIMIT)
{
    std::FILE* const file = std::tmpfile();
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
    std::rewind(file);
    CProcessOutput output(::fileno(file));
    while (output.descriptor() >= 0) {
        output.read();
    }
    std::vector<std::string> lines{"before"};
    output.takeText(most).appendLinesTo(lines);
    std::fclose(file);
    return lines;
}

std::vector<std::string> expected(const std::string& text)
{
    std::vector<std::string> lines{"before"};
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(ProcessOutput, LinesAreTheSameWhereverABlockEnds)
{
    for (const size_t end :
         {BLOCK - 2, BLOCK - 1, BLOCK, BLOCK + 1, 2 * BLOCK - 1, 2 * BLOCK, 2 * BLOCK + 1, 3 * BLOCK}) {
        for (const char* tail : {"", "\n", "\n\n", "\nlast", "\n\nlast\n"}) {
            const std::string text = std::string(end, 'x') + tail;
            EXPECT_EQ(linesOf(text), expected(text)) << end << tail;
            EXPECT_EQ(linesOf("first\n" + text), expected("first\n" + text)) << end << tail;
        }
    }
    std::string many;
    for (size_t i = 0; many.size() < 5 * BLOCK; ++i) {
        many += std::string(i % 97, 'y') + "\n";
    }
    EXPECT_EQ(linesOf(many), expected(many));
}

TEST(ProcessOutput, ANumberOfBytesCutsTheLastLine)
{
    std::string text(BLOCK - 1, 'x');
    text.append("\nsecond\n").append(BLOCK, 'z');
    for (const size_t most : {size_t{0}, size_t{1}, BLOCK - 1, BLOCK, BLOCK + 3, BLOCK + 7, 2 * BLOCK}) {
        EXPECT_EQ(linesOf(text, most), expected(text.substr(0, most))) << most;
    }
}

}  // namespace
