#include "Recording.h"

#include <paintlayer/core/PaintManager.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

const std::vector<RecordedSample>& GetRecording()
{
    static const std::vector<RecordedSample> samples = [] {
        std::vector<RecordedSample> read;
        std::ifstream file(PAINTLAYER_BENCH_DATA "/painting30sec.dat");
        RecordedSample sample{};
        while (file >> sample.seconds >> sample.x >> sample.y >> sample.pressure)
            read.push_back(sample);
        if (read.empty()) {
            std::fputs("The recorded session cannot be read\n", stderr);
            std::exit(1);
        }
        return read;
    }();
    return samples;
}

void FeedRecorded(const RecordedSample& sample, float scale, float radius)
{
    if (sample.pressure > 0) {
        if (!PaintCore.InBrushStroke())
            PaintCore.BeginBrushStroke(false);
        PaintCore.AddStrokePoint(sample.x * scale, sample.y * scale, radius, sample.pressure, 1, 0, false, false);
    } else if (PaintCore.InBrushStroke()) {
        PaintCore.EndBrushStroke();
    }
}
