// What the record of a run costs that nobody observes. Counting needs an allocator of its own, which a sanitizer has,
// too.
#include <gtest/gtest.h>

#include "bench/micro/allocations.h"
#include "framework/include/cfiexecpipe.h"
#include "framework/src/process/run_record.h"

namespace {

using namespace obzx_pdk_4_4;

TEST(UnobservedRunRecord, CostsNoMemoryAndReadsNoInput)
{
    const std::string line(100, 'x');
    const std::vector<std::string> words(10, line);
    const CFiOutputText output;
    const long before = bench::allocations();
    {
        CRunRecord record(line, words, 60);
        EXPECT_EQ(record.inputText(), nullptr);
        record.started(1);
        record.ended(EXEC_OK, OBZX_RUN_NOT_STOPPED, {}, output);
    }
    EXPECT_EQ(bench::allocations(), before);
}

}  // namespace
