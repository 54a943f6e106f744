#pragma once

#include "Options.h"
#include "Samples.h"

#include <cstdint>
#include <iosfwd>

/// What a replay did.
struct ReplayStats {
    uint64_t samples = 0;
    uint64_t strokes = 0;
    uint64_t stamps = 0;
    uint64_t stampedPixels = 0;
    double seconds = 0;  // painting and updating the view
    uint64_t tiles = 0;  // passed to the view
    uint64_t updatedPixels = 0;
    double undoMs = 0;  // all strokes, when they were undone and redone
    double redoMs = 0;
    long peakMemoryKib = 0;
    uint64_t hash = 0;  // of the image plane's bytes: 64-bit FNV-1a
};

/// Paints `samples` on a new document as `options` say and saves the view's image plane. Returns why it failed, or
/// nothing. The document is closed again.
std::string Replay(const ReplayOptions& options, const std::vector<PenSample>& samples, ReplayStats& stats);

/// The whole program: 0, or 2 with a message on `errors` and no picture left behind.
int RunReplay(int argc, const char* const* argv, std::ostream& out, std::ostream& errors);
