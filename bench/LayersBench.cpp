// Composites of many full layers on 4096 × 4096: all of them, one damaged square, and a merge; and the opening of many
// small layers. The full layers are dense (every alpha from 1 to 254), painted (12 soft discs each) or faint (every
// alpha from 1 to 24: no number of them hides what lies below; beyond eight they share their pages).
// PAINTLAYER_BENCH_FULL=1 adds 200 dense ones (14 GiB).

#include "BenchDocument.h"
#include <paintlayer/undo/UndoStore.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

namespace {

uint32_t Next(uint32_t& seed)
{
    seed ^= seed << 13;
    seed ^= seed >> 17;
    seed ^= seed << 5;
    return seed;
}

uint32_t Premultiplied(uint32_t a, uint32_t r, uint32_t g, uint32_t b)
{
    return a << 24 | (a * b + 127) / 255 << 16 | (a * g + 127) / 255 << 8 | (a * r + 127) / 255;
}

void FillDense(uint32_t* pixels, int side, int layer, int alphas)
{
    const uint32_t red = static_cast<uint32_t>(37 * layer) & 255;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const auto alpha = static_cast<uint32_t>(1 + (7 * x + 13 * y + 29 * layer) % alphas);
            *pixels++ =
                Premultiplied(alpha, red, static_cast<uint32_t>(x >> 4) & 255, static_cast<uint32_t>(y >> 4) & 255);
        }
}

void FillPainted(uint32_t* pixels, int side, int layer)
{
    uint32_t seed = 1U + 7919U * static_cast<uint32_t>(layer);
    const auto n = static_cast<uint32_t>(side);
    for (uint32_t disc = 0; disc < 12; ++disc) {
        const int cx = static_cast<int>(Next(seed) % n);
        const int cy = static_cast<int>(Next(seed) % n);
        const int radius = side / 64 + static_cast<int>(Next(seed) % (n / 16));
        for (int y = std::max(cy - radius, 0); y <= std::min(cy + radius, side - 1); ++y)
            for (int x = std::max(cx - radius, 0); x <= std::min(cx + radius, side - 1); ++x) {
                const double d = std::hypot(x - cx, y - cy);
                if (d >= radius)
                    continue;
                const uint32_t alpha = d <= radius - 16 ? 255U : static_cast<uint32_t>((radius - d) / 16 * 255);
                if (alpha != 0)
                    pixels[static_cast<size_t>(y) * n + static_cast<size_t>(x)] =
                        Premultiplied(alpha, static_cast<uint32_t>(37 * layer) & 255, 85 * disc & 255, 128);
            }
    }
}

enum Kind : int64_t { kDense, kPainted, kFaint };
const char* const kKindNames[] = {"dense", "painted", "faint"};
constexpr int kDistinctFaint = 8;

void Fill(ilMemoryImg& image, Kind kind, int layer)
{
    auto* pixels = reinterpret_cast<uint32_t*>(image.WriteRows(image.GetBounds()));
    if (kind == kPainted)
        FillPainted(pixels, image.GetWidth(), layer);
    else
        FillDense(pixels, image.GetWidth(), layer, kind == kDense ? 254 : 24);
}

/// A document with `count` layers, the middle one current; kept between benchmarks that use the same one.
BenchDocument& GetDocument(Kind kind, int count)
{
    static std::unique_ptr<BenchDocument> document;
    static std::pair<Kind, int> made{kDense, -1};
    if (made == std::pair{kind, count})
        return *document;
    document.reset();
    const int side = GetBenchCanvas();
    document = std::make_unique<BenchDocument>(side, side);
    made = {kind, count};
    PaintCore.SuspendLayerStackComposites();
    qs::vector<PntHandle> layers;
    for (int layer = 0; layer < count; ++layer) {
        qs::Reference<ilMemoryImg> image;
        if (kind != kFaint || layer < kDistinctFaint) {
            image.reset(new ilMemoryImg(side, side, 4));
            Fill(*image, kind, layer);
        }
        layers.push_back(PaintCore.AddLayer(image));
        if (!image) {
            LayerStack& stack = document->GetStack();
            const Layer* alike = stack.GetLayerFromHandle(layers[static_cast<size_t>(layer % kDistinctFaint)]);
            stack.GetLayerFromHandle(layers.back())->SetImage(alike->GetImage()->Snapshot());
        }
    }
    // Layers that hold nothing are dropped from their pages, as a host would after loading.
    for (const PntHandle& handle : PaintCore.GetLayerContainerHandles(kLayerModeImage, true))
        document->GetStack().GetLayerFromHandle(handle)->ShrinkBounds(true, true);
    PaintCore.SetCurrentLayer(layers[layers.size() / 2]);
    PaintCore.ResumeLayerStackComposites();
    document->GetStack().RebuildAllAndRedrawEntireCanvas();
    return *document;
}

void BM_FullRecomposite(benchmark::State& state)
{
    BenchDocument& document = GetDocument(static_cast<Kind>(state.range(0)), static_cast<int>(state.range(1)));
    PaintCore.SetThreadCount(static_cast<int>(state.range(2)));
    for (auto _ : state)
        document.GetStack().RebuildAllAndRedrawEntireCanvas();
    PaintCore.SetThreadCount(1);
    const double pixels = std::pow(GetBenchCanvas(), 2) * static_cast<double>(state.range(1));
    state.counters["px-layer/s"] = benchmark::Counter(pixels, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Damage256(benchmark::State& state)
{
    GetDocument(static_cast<Kind>(state.range(0)), static_cast<int>(state.range(1)));
    const int side = GetBenchCanvas();
    uint32_t seed = 99;
    for (auto _ : state) {
        const auto cells = static_cast<uint32_t>(std::max(side / 64 - 4, 1));
        const int x = static_cast<int>(Next(seed) % cells) * 64;
        const int y = static_cast<int>(Next(seed) % cells) * 64;
        PaintCore.DamageRegion({x, y, 256, 256});
        PaintCore.ForceUpdate();
    }
}

/// All layers become one; each time from the document as it was.
void BM_MergeAll(benchmark::State& state)
{
    GetDocument(static_cast<Kind>(state.range(0)), static_cast<int>(state.range(1)));
    SetupPntUndoQueue();
    PaintCore.SuspendUndo(false);
    for (auto _ : state) {
        if (!PaintCore.MergeAllLayers())
            state.SkipWithError("nothing was merged");
        state.PauseTiming();
        PaintUndoQueue()->Undo();
        state.ResumeTiming();
    }
    PaintCore.FlushUndoQueue();
    PaintCore.SuspendUndo(true);
}

/// What opening a file of `count` small layers takes: a new document, and a call for each of them.
void BM_OpenLayers(benchmark::State& state)
{
    constexpr int kLayerSide = 32;
    const qs::Reference<ilMemoryImg> image(new ilMemoryImg(kLayerSide, kLayerSide, 4));
    Fill(*image, kDense, 0);
    for (auto _ : state) {
        std::optional<BenchDocument> document(std::in_place, 512, 512);
        for (int64_t layer = 0; layer < state.range(0); ++layer)
            PaintCore.AddLayer(image);
        state.PauseTiming();
        document.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));  // layers
}

void Register()
{
    for (const int layers : {250, 500, 1000, 2000})
        if (layers <= 500 || GetBenchCanvas() >= 1024)
            benchmark::RegisterBenchmark("BM_OpenLayers", BM_OpenLayers)->Arg(layers)->Unit(benchmark::kMillisecond);
    const bool isFull = std::getenv("PAINTLAYER_BENCH_FULL") != nullptr;
    for (const Kind kind : {kDense, kPainted, kFaint})
        for (const int layers : {3, 10, 50, 200}) {
            if (kind == kDense && layers == 200 && !isFull)
                continue;
            const std::string arguments = std::string("/") + kKindNames[kind] + "/" + std::to_string(layers);
            for (const int threads : {1, 2})
                benchmark::RegisterBenchmark(
                    ("BM_FullRecomposite" + arguments + "/threads:" + std::to_string(threads)).c_str(),
                    BM_FullRecomposite)
                    ->Args({kind, layers, threads})
                    ->Unit(benchmark::kMillisecond)
                    ->UseRealTime();
            benchmark::RegisterBenchmark(("BM_Damage256" + arguments).c_str(), BM_Damage256)
                ->Args({kind, layers})
                ->Unit(benchmark::kMicrosecond);
            if (layers <= 50)
                benchmark::RegisterBenchmark(("BM_MergeAll" + arguments).c_str(), BM_MergeAll)
                    ->Args({kind, layers})
                    ->Unit(benchmark::kMillisecond);
        }
}

}  // namespace

int main(int argc, char** argv)
{
    Register();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
