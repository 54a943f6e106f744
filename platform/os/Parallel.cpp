#include "platform/os/Parallel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <system_error>
#include <thread>

namespace {

/// More than this wait for memory, not for a processor.
constexpr size_t kMostHelpers = 7;

/// Asked once: the system reads a file for it.
size_t CountProcessors()
{
    static const size_t count = std::max(1U, std::thread::hardware_concurrency());
    return count;
}

}  // namespace

void ParallelFor(int count, int grain, const std::function<void(int begin, int end)>& body)
{
    std::atomic<int> next = 0;
    const auto work = [&] {
        for (int begin = next.fetch_add(grain); begin < count; begin = next.fetch_add(grain))
            body(begin, std::min(begin + grain, count));
    };
    const auto pieces = static_cast<size_t>((count + grain - 1) / grain);
    const size_t wanted = pieces < 2 ? 0 : std::min({kMostHelpers, CountProcessors() - 1, pieces - 1});
    std::array<std::jthread, kMostHelpers> helpers;  // joined when they go
    try {
        for (size_t i = 0; i < wanted; ++i)
            helpers[i] = std::jthread(work);
    } catch (const std::system_error&) {
        // The machine has no thread to spare.
    }
    work();
}
