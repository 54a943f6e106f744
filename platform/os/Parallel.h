#pragma once

#include <functional>

/// How many threads ParallelFor uses, the calling one among them: 1 until the host asks for more. One setting for the
/// process; results never depend on it. A count outside 1 to 64 is refused.
bool SetThreadCount(int count);
int GetThreadCount();

/// Calls body(begin, end) for pieces of at most `grain` that together make up [0, count), on as many threads as the
/// host asked for; returns when all are done. `body` must not throw.
///
/// The threads live for this call only, so that nothing is left to stop at unload: work below a millisecond is not
/// worth them. Where no thread can be started, the calling one does it all.
void ParallelFor(int count, int grain, const std::function<void(int begin, int end)>& body);
