#pragma once

#include <functional>

/// Calls body(begin, end) for pieces of at most `grain` that together make up [0, count), on all of the machine's
/// processors, the calling thread among them; returns when all are done. `body` must not throw.
///
/// The threads live for this call only, so that nothing is left to stop at unload: work below a millisecond is not
/// worth them. Where no thread can be started, the calling one does it all.
void ParallelFor(int count, int grain, const std::function<void(int begin, int end)>& body);
