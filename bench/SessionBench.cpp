// The recorded tablet session (30 strokes, 2937 samples) at four times its size on 4096 × 4096, and single strokes.

#include "BenchDocument.h"
#include "Recording.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Radius, bits, and whether the view is kept up to date meanwhile.
void BM_Session(benchmark::State& state)
{
    const auto radius = static_cast<float>(state.range(0));
    const std::vector<RecordedSample>& samples = GetRecording();
    uint64_t stamps = 0;
    std::vector<double> perSample;
    for (auto _ : state) {
        const BenchDocument document(4096, 4096);
        PaintCore.AddLayer({});
        SetBenchBrush(radius, state.range(1) == 16);
        if (state.range(2) == 0)
            PaintCore.SuspendLayerStackComposites();
        const uint64_t before = PaintCore.GetStampCount();
        const auto start = Clock::now();
        for (const RecordedSample& sample : samples) {
            const auto sampleStart = Clock::now();
            FeedRecorded(sample, 4, radius);
            perSample.push_back(SecondsSince(sampleStart));
        }
        PaintCore.EndBrushStroke();
        state.SetIterationTime(SecondsSince(start));
        stamps = PaintCore.GetStampCount() - before;
    }
    std::sort(perSample.begin(), perSample.end());
    state.counters["stamps"] = static_cast<double>(stamps);
    state.counters["stamps/s"] =
        benchmark::Counter(static_cast<double>(stamps), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["px/s"] = benchmark::Counter(static_cast<double>(stamps) * M_PI * radius * radius,
                                                benchmark::Counter::kIsIterationInvariantRate);
    state.counters["p99_us"] = 1e6 * perSample[perSample.size() * 99 / 100];
}
BENCHMARK(BM_Session)
    ->ArgNames({"radius", "bits", "view"})
    ->ArgsProduct({{4, 16, 64, 200}, {8, 16}, {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// Stamps of one straight stroke to and fro, without a view.
void BM_Stamps(benchmark::State& state)
{
    const auto radius = static_cast<float>(state.range(0));
    const BenchDocument document(2048, 2048);
    PaintCore.AddLayer({});
    SetBenchBrush(radius, state.range(1) == 16);
    PaintCore.SuspendLayerStackComposites();
    PaintCore.BeginBrushStroke(true);
    const uint64_t before = PaintCore.GetStampCount();
    int i = 0;
    for (auto _ : state) {
        const float y = 300 + static_cast<float>(++i % 977);
        PaintCore.AddStrokePoint(i % 2 == 0 ? 300.0F : 1700.0F, y, radius, 0.2F, 1, 0, false, false);
    }
    const auto stamps = static_cast<double>(PaintCore.GetStampCount() - before);
    PaintCore.EndBrushStroke();
    state.counters["stamps/s"] = benchmark::Counter(stamps, benchmark::Counter::kIsRate);
    state.counters["px/s"] = benchmark::Counter(stamps * M_PI * radius * radius, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Stamps)
    ->ArgNames({"radius", "bits"})
    ->ArgsProduct({{4, 16, 64, 200}, {8, 16}})
    ->Unit(benchmark::kMicrosecond);

/// From AddStrokePoint until the view has been told: one sample, updated at once.
void BM_SampleToView(benchmark::State& state)
{
    const auto radius = static_cast<float>(state.range(0));
    const BenchDocument document(4096, 4096);
    PaintCore.AddLayer({});
    SetBenchBrush(radius, true);
    PaintCore.BeginBrushStroke(false);
    double angle = 0;
    for (auto _ : state) {
        angle += 8 / 1000.0;  // a circle a second at 1000 pixels' radius, samples 8 ms apart
        PaintCore.AddStrokePoint(static_cast<float>(2048 + 1000 * std::cos(2 * M_PI * angle)),
                                 static_cast<float>(2048 + 1000 * std::sin(2 * M_PI * angle)), radius, 0.5F, 1, 0,
                                 false, false);
        PaintCore.ForceUpdate();
    }
    PaintCore.EndBrushStroke();
}
BENCHMARK(BM_SampleToView)->ArgName("radius")->Arg(4)->Arg(16)->Arg(64)->Arg(200)->Unit(benchmark::kMicrosecond);

/// A stroke that leaves the canvas by 10^7 pixels and comes back (far = 1), or stays (far = 0).
void BM_FarStroke(benchmark::State& state)
{
    const BenchDocument document(4096, 4096);
    PaintCore.AddLayer({});
    SetBenchBrush(4, false);
    StrokeParameters stroke = PaintCore.GetStrokeParameters();
    stroke.interpolation = static_cast<int>(state.range(1));
    PaintCore.SetStrokeParameters(stroke);
    const float away = state.range(0) != 0 ? 1e7F : 3000.0F;
    for (auto _ : state) {
        PaintCore.BeginBrushStroke(false);
        for (const float x : {100.0F, 2000.0F, away, 1800.0F, 90.0F})
            PaintCore.AddStrokePoint(x, 1000 + x / 7, 4, 0.5F, 1, 0, false, false);
        PaintCore.EndBrushStroke();
    }
}
BENCHMARK(BM_FarStroke)->ArgNames({"far", "smooth"})->ArgsProduct({{0, 1}, {0, 1}})->Unit(benchmark::kMillisecond);

}  // namespace
