#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/// One recorded event of a tablet.
struct PenSample {
    double seconds = 0;
    double x = 0;  // pixels
    double y = 0;  // pixels, downwards
    double pressure = 0;  // 0 (hovering) to 1
};

/// A recorded session, or why there is none.
struct SampleFile {
    std::vector<PenSample> samples;
    std::string error;  // empty when the samples are good; names the file, and the line where one is at fault
};

/// Reads text lines `seconds x y pressure`; blank lines and lines that begin with # are passed over. Refused: a file
/// that cannot be read or holds no sample, a line that is not four numbers, numbers that are not finite, a pressure
/// outside 0 to 1, and time that runs backwards.
SampleFile ReadSamples(const std::string& path);

/// The same of an open stream; `path` is what errors call it.
SampleFile ReadSamples(std::istream& input, const std::string& path);
