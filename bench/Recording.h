#pragma once

#include <vector>

/// One event of the recorded session.
struct RecordedSample {
    double seconds;
    float x;
    float y;
    float pressure;
};

/// The session that stands beside the benchmarks; ends the program with a message when it cannot be read.
const std::vector<RecordedSample>& GetRecording();

/// Feeds one sample to PaintCore at `scale` times its position: begins a stroke where pressure begins, ends it where
/// the pen hovers. Opacity is the pressure.
void FeedRecorded(const RecordedSample& sample, float scale, float radius);
