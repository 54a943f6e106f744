#include "platform/os/Parallel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <system_error>
#include <thread>

namespace {

constexpr int kMostThreads = 64;

int threadCount = 1;

}  // namespace

bool SetThreadCount(int count)
{
    const bool isAcceptable = count >= 1 && count <= kMostThreads;
    if (isAcceptable)
        threadCount = count;
    return isAcceptable;
}

int GetThreadCount()
{
    return threadCount;
}

void ParallelFor(int count, int grain, const std::function<void(int begin, int end)>& body)
{
    std::atomic<int> next = 0;
    const auto work = [&] {
        for (int begin = next.fetch_add(grain); begin < count; begin = next.fetch_add(grain))
            body(begin, std::min(begin + grain, count));
    };
    const auto pieces = static_cast<size_t>((count + grain - 1) / grain);
    const size_t wanted = std::min(static_cast<size_t>(threadCount), std::max(pieces, size_t{1})) - 1;
    std::array<std::jthread, kMostThreads - 1> helpers;  // joined when they go
    try {
        for (size_t i = 0; i < wanted; ++i)
            helpers[i] = std::jthread(work);
    } catch (const std::system_error&) {
        // The machine has no thread to spare.
    }
    work();
}
