// Any bytes, read as a recording of a tablet. What must hold: they are refused with a message and no sample, or all
// samples are ones that can be replayed.
//
//   build/fuzz/fuzz/fuzz-samples FILE     replays a crash

#include "host/Samples.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::istringstream input(std::string(data, data + size));
    const SampleFile file = ReadSamples(input, "fuzz");
    if (file.error.empty() == file.samples.empty())
        std::abort();
    double last = -HUGE_VAL;
    for (const PenSample& sample : file.samples) {
        if (!std::isfinite(sample.seconds) || !std::isfinite(sample.x) || !std::isfinite(sample.y) ||
            !(sample.pressure >= 0 && sample.pressure <= 1) || sample.seconds < last)
            std::abort();
        last = sample.seconds;
    }
    return 0;
}
