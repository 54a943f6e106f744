#include "platform/os/Parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

namespace {

TEST(Parallel, EveryIndexIsWorkedOnOnceWhateverTheNumberOfThreads)
{
    for (const int refused : {0, -1, 65})
        EXPECT_FALSE(SetThreadCount(refused));
    for (const int threads : {64, 3, 1}) {
        ASSERT_TRUE(SetThreadCount(threads));
        for (const int count : {0, 1, 7, 8, 9, 1000}) {
            std::vector<std::atomic<int>> visits(static_cast<size_t>(count) + 16);
            ParallelFor(count, 8, [&](int begin, int end) {
                for (int i = begin; i < end; ++i)
                    ++visits[static_cast<size_t>(i)];
            });
            for (size_t i = 0; i < visits.size(); ++i)
                ASSERT_EQ(visits[i], i < static_cast<size_t>(count) ? 1 : 0) << threads << " threads, " << i;
        }
    }
    EXPECT_EQ(GetThreadCount(), 1);
}

}  // namespace
