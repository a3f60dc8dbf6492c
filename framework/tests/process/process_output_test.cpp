// The text of a program, block by block.
#include "framework/src/process/process_output.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

namespace {

using namespace obzx_pdk_4_4;

constexpr size_t BLOCK = size_t{64} * 1024;

// The lines of a text that is read from a file, which has all of it ready.
std::vector<std::string> linesOf(const std::string& text, size_t most = SFiOutputBounds::NONE)
{
    std::FILE* const file = std::tmpfile();
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
    std::rewind(file);
    CProcessOutput output(::fileno(file), {});
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

// The bound that a text passes; what is beyond it is not read.
EFiOutputBound passedBy(const std::string& text, const SFiOutputBounds& bounds)
{
    std::FILE* const file = std::tmpfile();
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
    std::rewind(file);
    CProcessOutput output(::fileno(file), bounds);
    while (output.descriptor() >= 0 && !output.tooLong()) {
        output.read();
    }
    std::fclose(file);
    return output.passedBound();
}

TEST(ProcessOutput, MayHaveAsManyBytesAsItsBound)
{
    const SFiOutputBounds bounds{.bytes = 3 * BLOCK + 5};
    EXPECT_EQ(passedBy(std::string(3 * BLOCK + 5, 'x'), bounds), EFiOutputBound::NONE);
    EXPECT_EQ(passedBy(std::string(3 * BLOCK + 6, 'x'), bounds), EFiOutputBound::BYTES);
    EXPECT_EQ(passedBy("", bounds), EFiOutputBound::NONE);
}

TEST(ProcessOutput, MayHaveAsManyLinesAsItsBoundWithOrWithoutALastEnd)
{
    const SFiOutputBounds bounds{.lines = 2 * BLOCK};
    const std::string ends(2 * BLOCK - 1, '\n');
    EXPECT_EQ(passedBy(ends + "\n", bounds), EFiOutputBound::NONE);
    EXPECT_EQ(passedBy(ends + "last", bounds), EFiOutputBound::NONE);
    EXPECT_EQ(passedBy(ends + "\nlast", bounds), EFiOutputBound::LINES);
    EXPECT_EQ(passedBy(ends + "\n\n", bounds), EFiOutputBound::LINES);
}

TEST(ProcessOutput, MayHaveALineAsLongAsItsBoundWhereverItBegins)
{
    const SFiOutputBounds bounds{.lineLength = BLOCK + 7};
    const std::string longest(BLOCK + 7, 'x');
    for (const size_t before : {size_t{0}, size_t{1}, BLOCK - 1, BLOCK, BLOCK + 1}) {
        const std::string start = before == 0 ? "" : std::string(before - 1, 'y') + "\n";
        for (const char* const end : {"", "\n", "\nz\n"}) {
            EXPECT_EQ(passedBy(start + longest + end, bounds), EFiOutputBound::NONE) << before << end;
            EXPECT_EQ(passedBy(start + longest + "x" + end, bounds), EFiOutputBound::LINE_LENGTH) << before << end;
        }
    }
}

}  // namespace
