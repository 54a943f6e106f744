// Nanoseconds per stamp that the coverage costs, known and new:  bench-stamps --benchmark_filter=New

#include <paintlayer/platform/imaging/stamps/Stamp.h>
#include <paintlayer/platform/imaging/stamps/StampCache.h>

#include <benchmark/benchmark.h>

namespace {

/// Of the benchmark's hardness in percent; 100 is the hard disc.
qs::Reference<Stamp> MakeBrush(int64_t hardness, float radius)
{
    auto stamp = qs::MakeReference<Stamp>();
    stamp->set_profile(MakeProfile({static_cast<float>(hardness) / 100, BrushProfile::Falloff::Dome}, radius));
    return stamp;
}

void PlaceStamps(benchmark::State& state, int cacheMebibytes)
{
    const auto radius = static_cast<float>(state.range(0));
    const auto stamp = MakeBrush(state.range(1), radius);
    const int oldMebibytes = ILStampImpl::max_cache_size();
    ILStampImpl::max_cache_size(cacheMebibytes);
    StampPlacement placement{0, 0, radius};
    const auto place = [&] {
        placement.x += 0.37;
        placement.y += 0.61;
        benchmark::DoNotOptimize(stamp->GetCoverage(placement));
    };
    for (int i = 0; i < 2000; ++i)
        place();
    for (auto _ : state)
        place();
    ILStampImpl::max_cache_size(oldMebibytes);
}

void KnownCoverage(benchmark::State& state)
{
    PlaceStamps(state, 256);
}

void NewCoverage(benchmark::State& state)
{
    PlaceStamps(state, 0);
}

BENCHMARK(KnownCoverage)->ArgNames({"radius", "hardness"})->ArgsProduct({{4, 16, 64, 200}, {50}});
BENCHMARK(NewCoverage)->ArgNames({"radius", "hardness"})->ArgsProduct({{1, 4, 16, 64, 200}, {50, 90, 100}});

}  // namespace
