#include "Replay.h"

#include "Png.h"
#include "Progress.h"
#include "ReplayView.h"
#include "UndoCheck.h"
#include <paintlayer/core/PaintManager.h>

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <optional>
#include <ostream>
#include <sstream>

#include <sys/resource.h>

namespace {

/// An open document with a view on it, closed at the end.
class Document {
public:
    Document(const ReplayOptions& options, ReplayView& view)
        : view_(view), handle_(PaintCore.AddLayerStack(options.width, options.height))
    {
        if (handle_ < 0)
            return;
        PaintCore.SetThreadCount(options.threads);
        PaintCore.AddViewer(&view_);
        PaintCore.SuspendLayerStackComposites();
        AddFilledLayers(options, options.layers / 2, 0);
        const PntHandle painted = PaintCore.AddLayer({});
        AddFilledLayers(options, options.layers - options.layers / 2, options.layers / 2);
        PaintCore.SetCurrentLayer(painted);
        PaintCore.ResumeLayerStackComposites();
        SetSymmetry(options);
        PaintCore.ForceUpdate();
    }
    ~Document()
    {
        if (handle_ < 0)
            return;
        PaintCore.RemoveViewer(&view_, handle_);
        PaintCore.DeleteLayerStack(handle_, false);
    }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    bool IsOpen() const { return handle_ >= 0; }

private:
    /// Layers of faint colour over the whole canvas: enough to be composited, not to hide the painting.
    static void AddFilledLayers(const ReplayOptions& options, int count, int first)
    {
        for (int i = 0; i < count; ++i) {
            const PntHandle layer = PaintCore.AddLayer({});
            PaintColor tint(0, 0, 0, 3 / 255.0F);
            HSVtoRGB(static_cast<float>((first + i) * 47 % 360), 0.6F, 0.9F, tint.r, tint.g, tint.b);
            PaintCore.FillLayer({0, 0, options.width, options.height}, tint, layer);
        }
    }

    static void SetSymmetry(const ReplayOptions& options)
    {
        if (!options.mirrorAngle && options.rotations == 1)
            return;
        auto symmetry = std::make_unique<Symmetry>(options.width / 2.0, options.height / 2.0);
        symmetry->SetOrder(options.rotations);
        if (options.mirrorAngle)
            symmetry->SetMirror(true, *options.mirrorAngle);
        PaintCore.SetSymmetry(symmetry.release());
    }

    ReplayView& view_;
    int handle_;
};

void SetBrush(const ReplayOptions& options)
{
    BrushParameters brush;
    brush.color = options.color;
    brush.profile.hardness = static_cast<float>(options.hardness);
    brush.firstSize = static_cast<float>(options.radius);
    brush.secondSize = static_cast<float>(options.radius);
    brush.threshold = options.use16Bit ? 0.0F : 1.0F;
    StrokeParameters stroke;
    stroke.spacing = static_cast<float>(options.spacing);
    stroke.markerBlend = options.marker;
    PaintCore.SetStrokeParameters(stroke);
    PaintCore.SetBrushParameters(brush, true);
}

void Feed(const ReplayOptions& options, const PenSample& sample)
{
    const bool bySize =
        options.pressure == ReplayOptions::Pressure::Size || options.pressure == ReplayOptions::Pressure::Both;
    const bool byOpacity =
        options.pressure == ReplayOptions::Pressure::Opacity || options.pressure == ReplayOptions::Pressure::Both;
    const double size = options.radius * (bySize ? 0.15 + 0.85 * sample.pressure : 1.0);
    const double opacity = options.opacity * (byOpacity ? sample.pressure : 1.0);
    PaintCore.AddStrokePoint(static_cast<float>(sample.x * options.scale), static_cast<float>(sample.y * options.scale),
                             static_cast<float>(size), static_cast<float>(opacity), 1, 0, false, false);
}

/// Feeds the samples once: a stroke is a run of samples with pressure.
void PaintSamples(const ReplayOptions& options, const std::vector<PenSample>& samples, ReplayClock& clock,
                  double startMs, Progress& progress, ReplayStats& stats)
{
    for (const PenSample& sample : samples) {
        clock.AdvanceTo(startMs + 1000 * sample.seconds);
        if (sample.pressure > 0) {
            if (!PaintCore.InBrushStroke()) {
                PaintCore.BeginBrushStroke(false);
                ++stats.strokes;
            }
            Feed(options, sample);
        } else if (PaintCore.InBrushStroke()) {
            PaintCore.EndBrushStroke();
        }
        ++stats.samples;
        progress.Advance();
    }
    PaintCore.EndBrushStroke();
}

/// Fills as asked, within the selections; returns the first fill that was not possible, or nothing.
std::string FillAreas(const ReplayOptions& options)
{
    for (const ilTile& tile : options.selections)
        PaintCore.AddToSelection(tile);
    PaintCore.SetSelectionMaskActive(!options.selections.empty());
    PaintCore.SetFloodFillGrowth(options.fillGrowth);
    for (const FillRequest& fill : options.fills) {
        if (fill.x < 0 || fill.x >= options.width || fill.y < 0 || fill.y >= options.height)
            return "The fill at " + std::to_string(fill.x) + "," + std::to_string(fill.y) + " is outside the canvas";
        PaintCore.SmoothFloodFillDone(fill.x, fill.y, static_cast<float>(fill.tolerance), fill.color);
    }
    PaintCore.SetSelectionMaskActive(false);  // the picture is to be seen, not what is selected
    PaintCore.ForceUpdate();
    return {};
}

uint64_t HashOf(const ilMemoryImg& image)
{
    uint64_t hash = 0xCBF29CE484222325U;
    for (int y = 0; y < image.GetHeight(); ++y) {
        const uint8_t* row = image.GetRow(y);
        for (ptrdiff_t i = 0; i < image.GetStrideBytes(); ++i)
            hash = (hash ^ row[i]) * 0x100000001B3U;
    }
    return hash;
}

void Print(const ReplayStats& stats, bool hasUndone, std::ostream& out)
{
    const auto line = [&](const char* name, auto value, const char* unit) {
        out << std::left << std::setw(16) << name << value << unit << '\n';
    };
    line("samples", stats.samples, "");
    line("strokes", stats.strokes, "");
    line("stamps", stats.stamps, "");
    line("pixels painted", stats.stampedPixels, "");
    line("threads", PaintCore.GetThreadCount(), "");
    line("seconds", stats.seconds, "");
    if (hasUndone) {
        line("undo", stats.undoMs, " ms");
        line("redo", stats.redoMs, " ms");
    }
    line("tiles updated", stats.tiles, "");
    line("pixels updated", stats.updatedPixels, "");
    line("peak memory", stats.peakMemoryKib, " KiB");
    std::ostringstream hash;
    hash << std::hex << std::setw(16) << std::setfill('0') << stats.hash;
    line("plane hash", hash.str(), "");
}

}  // namespace

std::string Replay(const ReplayOptions& options, const std::vector<PenSample>& samples, ReplayStats& stats)
{
    PaintCore.InitPaintManager();
    ReplayClock clock;
    ReplayView view(clock);
    const Document document(options, view);
    if (!document.IsOpen())
        return "A document of " + std::to_string(options.width) + "x" + std::to_string(options.height) +
               " pixels cannot be opened";
    SetBrush(options);
    std::optional<UndoCheck> undo;
    if (options.undo)
        undo.emplace();
    Progress progress(samples.size() * static_cast<size_t>(options.repeat));
    const uint64_t stampsBefore = PaintCore.GetStampCount();
    const uint64_t pixelsBefore = PaintCore.GetStampedPixels();
    const auto start = std::chrono::steady_clock::now();
    double startMs = 0;
    for (int i = 0; i < options.repeat; ++i) {
        PaintSamples(options, samples, clock, startMs, progress, stats);
        startMs = clock.GetNow() - 1000 * samples.front().seconds;
    }
    stats.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    clock.AdvanceTo(clock.GetNow() + 5000);  // let the last stroke settle
    stats.stamps = PaintCore.GetStampCount() - stampsBefore;
    stats.stampedPixels = PaintCore.GetStampedPixels() - pixelsBefore;
    if (const std::string failure = FillAreas(options); !failure.empty())
        return failure;
    if (undo) {
        if (const std::string failure = undo->Run(); !failure.empty())
            return failure;
        stats.undoMs = undo->GetUndoMs();
        stats.redoMs = undo->GetRedoMs();
    }
    stats.tiles = view.GetTileCount();
    stats.updatedPixels = view.GetUpdatedPixels();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    stats.peakMemoryKib = usage.ru_maxrss;
    if (!view.GetImagePlane())
        return "The view was never shown a picture";
    stats.hash = HashOf(*view.GetImagePlane());
    return WritePng(options.picturePath, *view.GetImagePlane(), options.background);
}

int RunReplay(int argc, const char* const* argv, std::ostream& out, std::ostream& errors)
{
    const ParsedOptions parsed = ParseOptions(argc, argv);
    if (!parsed.options) {
        (parsed.status == 0 ? out : errors) << parsed.text;
        return parsed.status;
    }
    const SampleFile file = ReadSamples(parsed.options->samplesPath);
    ReplayStats stats;
    const std::string error = file.error.empty() ? Replay(*parsed.options, file.samples, stats) : file.error;
    if (!error.empty()) {
        errors << "paint-replay: " << error << '\n';
        return 2;
    }
    if (parsed.options->stats)
        Print(stats, parsed.options->undo, out);
    return 0;
}
