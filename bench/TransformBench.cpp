// Pixels of the result per second of transforms of a painted layer of 4096 x 4096 (PAINTLAYER_BENCH_CANVAS sets another
// side), every page of which differs in every pixel:  bench-transforms

#include <paintlayer/platform/imaging/pages/PageWalk.h>
#include <paintlayer/platform/imaging/transform/ColorAdjust.h>
#include <paintlayer/platform/imaging/transform/ImageBlur.h>
#include <paintlayer/platform/imaging/transform/ImageTransform.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <functional>

namespace {

using qsLinear::AffineMatrix;
using Image = qs::Reference<ilSmartImage>;

int CanvasSide()
{
    const char* const set = std::getenv("PAINTLAYER_BENCH_CANVAS");
    return set != nullptr ? std::atoi(set) : 4096;
}

const ilSmartImage& ThePainting()
{
    static const Image image = [] {
        Image painted(new ilSmartImage(ilPixel()));
        uint32_t state = 1;
        ForEachPage({0, 0, CanvasSide(), CanvasSide()}, [&](int px, int py, const ilTile&) {
            uint8_t page[kPagePixels * 4];
            for (uint8_t* bytes = page; bytes != page + sizeof page; bytes += 4) {
                state = state * 1664525 + 1013904223;
                const auto alpha = static_cast<uint8_t>(state >> 24);
                bytes[0] = alpha;
                bytes[1] = alpha / 2;
                bytes[2] = alpha / 4;
                bytes[3] = alpha;
            }
            painted->WriteTile(PageTile(px, py), page, ptrdiff_t{kPageSize} * 4);
        });
        return painted;
    }();
    return *image;
}

void Measure(benchmark::State& state, const std::function<Image()>& work)
{
    work();  // pages are recycled: only the first result pays for fresh memory
    size_t pages = 0;
    for (auto _ : state) {
        const Image result = work();
        pages += result->GetPageCount();
    }
    state.counters["Mpx"] =
        benchmark::Counter(static_cast<double>(pages) * kPagePixels / 1e6, benchmark::Counter::kIsRate);
}

void Add(const char* name, const std::function<Image()>& work)
{
    benchmark::RegisterBenchmark(name, Measure, work)->Unit(benchmark::kMillisecond);
}

void AddTransform(const char* name, const AffineMatrix& matrix, FilterMethod filter)
{
    Add(name, [=] { return TransformImage(ThePainting(), matrix, {filter, filter}); });
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const float side = static_cast<float>(CanvasSide());
    const Rect8f quad{{side / 4, side * 3 / 4, side, 0}, {0, 0, side, side}};
    ColorAdjustParm tone, color;
    tone.contrast = 0.2F;
    color.hue = 40;
    AddTransform("turn by 30 degrees, bilinear", AffineMatrix::Rotation(30), kFilterBilinear);
    AddTransform("turn by 30 degrees, bicubic", AffineMatrix::Rotation(30), kFilterBicubic);
    AddTransform("turn by 90 degrees", AffineMatrix::Rotation(90), kFilterBicubic);
    AddTransform("half the size, area", AffineMatrix::Scale(0.5, 0.5), kFilterArea);
    AddTransform("half the size, Lanczos", AffineMatrix::Scale(0.5, 0.5), kFilterLanczos);
    AddTransform("twice the size, bicubic", AffineMatrix::Scale(2, 2), kFilterBicubic);
    Add("perspective, bicubic",
        [=] { return WarpImage(ThePainting(), ThePainting().GetBounds(), quad, WarpKind::Perspective, {}); });
    const ilTile all = ThePainting().GetBounds();
    Add("contrast", [=] { return AdjustColors(ThePainting(), tone, all, 1); });
    Add("hue", [=] { return AdjustColors(ThePainting(), color, all, 1); });
    Add("blur by 4 pixels", [] { return BlurImage(ThePainting(), 4); });
    benchmark::RunSpecifiedBenchmarks();
}
