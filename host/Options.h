#pragma once

#include <paintlayer/platform/imaging/pages/PaintColor.h>

#include <paintlayer/platform/imaging/pages/ilTile.h>

#include <optional>
#include <string>
#include <vector>

/// A smooth flood fill from a canvas pixel; tolerance is 0 to 1.
struct FillRequest {
    int x = 0;
    int y = 0;
    PaintColor color;
    double tolerance = 0;
};

/// What a replay is asked to do.
struct ReplayOptions {
    std::string samplesPath;
    std::string picturePath;
    int width = 1024;  // canvas pixels
    int height = 768;
    double radius = 6;  // of the stamp at full pressure, canvas pixels
    PaintColor color{0.09F, 0.22F, 0.45F, 1};
    double opacity = 1;
    double hardness = 0.7;
    double spacing = 0.25;  // in radii
    double scale = 1;  // of the recorded positions
    enum class Pressure { Size, Opacity, Both, None } pressure = Pressure::Both;
    bool use16Bit = false;
    bool marker = false;
    std::optional<double> mirrorAngle;  // degrees
    int rotations = 1;
    int layers = 0;  // filled layers around the painted one
    std::optional<PaintColor> background = PaintColor(1, 1, 1, 1);
    int repeat = 1;
    int threads = 1;  // that compose large areas
    std::vector<ilTile> selections;  // canvas rectangles that limit the fills, together; none: the whole canvas
    std::vector<FillRequest> fills;  // after the strokes, in order
    int fillGrowth = 0;  // pixels
    bool undo = false;  // undo and redo all strokes at the end, and compare
    bool stats = false;
};

/// What to do after the command line was read: replay, or stop with an exit status and a text to show.
struct ParsedOptions {
    std::optional<ReplayOptions> options;
    int status = 0;
    std::string text;
};

ParsedOptions ParseOptions(int argc, const char* const* argv);
