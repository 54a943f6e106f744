// Undo on 16384 × 16384 (PAINTLAYER_BENCH_CANVAS sets another side): the record that a stroke begins with, undo and
// redo of a stroke over 10 million pixels, and of a structural edit among 200 layers. The layer is full of one colour,
// which takes one page of memory ("uniform"), or every page of it is another one ("distinct", 1 GiB).

#include "BenchDocument.h"
#include <paintlayer/undo/PntUndoStroke.h>
#include <paintlayer/undo/UndoStore.h>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

enum Kind : int64_t { kUniform, kDistinct };

int GetSide()
{
    return std::getenv("PAINTLAYER_BENCH_CANVAS") != nullptr ? GetBenchCanvas() : 16384;
}

/// A document with `layers` layers and the top one full; kept between benchmarks that use the same one.
BenchDocument& GetDocument(Kind kind, int layers)
{
    static std::unique_ptr<BenchDocument> document;
    static std::pair<Kind, int> made{kUniform, -1};
    PaintCore.FlushUndoQueue();
    if (made == std::pair{kind, layers})
        return *document;
    document.reset();
    const int side = GetSide();
    document = std::make_unique<BenchDocument>(side, side);
    made = {kind, layers};
    PaintCore.SuspendUndo(true);
    PaintCore.SuspendLayerStackComposites();
    for (int i = 0; i < layers; ++i)
        PaintCore.AddLayer({});
    ilMIOImage& image = *document->GetStack().GetCurrentLayerPtr()->GetImage();
    image.fillTile({0, 0, side, side}, ilPixel::Rgba(90, 140, 200, 255));
    if (kind == kDistinct)
        for (int y = 0; y < side; y += kPageSize)
            for (int x = 0; x < side; x += kPageSize)
                image.SetPixel(x, y, ilPixel::Rgba(static_cast<uint8_t>(x / kPageSize), 0, 0, 255));
    PaintCore.ResumeLayerStackComposites();
    document->GetStack().RebuildAllAndRedrawEntireCanvas();
    PaintCore.SuspendUndo(false);
    SetupPntUndoQueue();
    return *document;
}

/// The composites are not drawn meanwhile: what is measured is undo alone.
class UndrawnScope {
public:
    explicit UndrawnScope(bool isDrawn) : isDrawn_(isDrawn)
    {
        if (!isDrawn_)
            PaintCore.SuspendLayerStackComposites();
    }
    ~UndrawnScope()
    {
        if (!isDrawn_)
            PaintCore.ResumeLayerStackComposites();
    }
    UndrawnScope(const UndrawnScope&) = delete;
    UndrawnScope& operator=(const UndrawnScope&) = delete;

private:
    bool isDrawn_;
};

void BM_BeginOfStroke(benchmark::State& state)
{
    LayerStack& stack = GetDocument(static_cast<Kind>(state.range(0)), 1).GetStack();
    Layer& layer = *stack.GetCurrentLayerPtr();
    const PntHandle handle = layer.GetLayerContainerHandle();
    const int stackHandle = PaintCore.GetCurrentLayerStack();
    for (auto _ : state) {
        qs::Reference<PntUndoOper> record(
            new PntUndoStroke(&PaintCore, stackHandle, handle, &stack, &layer, layer.GetImage(), "MioStroke"));
        benchmark::DoNotOptimize(record);
    }
}

void BM_UndoRedoOfStroke(benchmark::State& state)
{
    GetDocument(static_cast<Kind>(state.range(0)), 1);
    const UndrawnScope undrawn(state.range(1) != 0);
    const auto side = static_cast<float>(GetSide());
    constexpr float kRadius = 320;
    SetBenchBrush(kRadius, false);
    PaintCore.BeginBrushStroke(true);
    PaintCore.AddStrokePoint(kRadius, side / 2, kRadius, 1, 1, 0, false, false);
    PaintCore.AddStrokePoint(side - kRadius, side / 2, kRadius, 1, 1, 0, false, false);
    PaintCore.EndBrushStroke();
    for (auto _ : state)
        if (!PaintUndoQueue()->Undo() || !PaintUndoQueue()->Redo())
            state.SkipWithError("no stroke was recorded");
    state.counters["px"] = benchmark::Counter(2.0 * kRadius * side);
    PaintUndoQueue()->Undo();
}

void BM_StructuralStep(benchmark::State& state)
{
    GetDocument(kUniform, static_cast<int>(state.range(0)));
    const UndrawnScope undrawn(false);
    for (auto _ : state)
        PaintCore.AddUndoLayerStack(-2, true);
}

void BM_UndoRedoOfStructure(benchmark::State& state)
{
    GetDocument(kUniform, static_cast<int>(state.range(0)));
    const UndrawnScope undrawn(false);
    PaintCore.AddLayer({});
    for (auto _ : state)
        if (!PaintUndoQueue()->Undo() || !PaintUndoQueue()->Redo())
            state.SkipWithError("no step was recorded");
    PaintUndoQueue()->Undo();
}

BENCHMARK(BM_BeginOfStroke)->ArgName("distinct")->Arg(kUniform)->Arg(kDistinct)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_UndoRedoOfStroke)
    ->ArgNames({"distinct", "view"})
    ->Args({kUniform, 0})
    ->Args({kUniform, 1})
    ->Args({kDistinct, 0})
    ->Args({kDistinct, 1})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StructuralStep)->ArgName("layers")->Arg(200)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_UndoRedoOfStructure)->ArgName("layers")->Arg(200)->Unit(benchmark::kMicrosecond);

}  // namespace
