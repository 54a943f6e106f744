// Flood fill and magic wand on 4096 × 4096: a blank image, coarse noise with grain at three tolerances, and a
// serpentine maze of 2 pixel corridors, seeded in the corner. Mask: into an empty one-channel image. Image: the colour
// into the image itself, whose pages are its own. Smooth: the mask with a soft edge.

#include "BenchDocument.h"
#include <paintlayer/platform/imaging/regions/FloodFillOperation.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>

namespace {

uint32_t Hash(uint32_t z)
{
    z = (z ^ (z >> 13)) * 1274126177U;
    return z ^ (z >> 16);
}

/// Lattice values every 64 pixels, bilinear between, plus grain of 4 bits.
uint32_t NoiseAt(uint32_t x, uint32_t y)
{
    if (x == 1 && y == 1)
        return 0xFF808080;
    uint32_t packed = 0xFF000000;
    for (uint32_t k = 0; k < 3; ++k) {
        const auto lattice = [k](uint32_t i, uint32_t j) {
            return i + j == 0 ? 128
                              : 64 + static_cast<int>(Hash(i * 374761393U + j * 668265263U + k * 1274126177U) >> 25);
        };
        const uint32_t i = x >> 6, j = y >> 6;
        const int fx = static_cast<int>(x & 63), fy = static_cast<int>(y & 63);
        const int top = lattice(i, j) * (64 - fx) + lattice(i + 1, j) * fx;
        const int bottom = lattice(i, j + 1) * (64 - fx) + lattice(i + 1, j + 1) * fx;
        const int grain = static_cast<int>((Hash(x * 73856093U + y * 19349663U + k * 83492791U) >> 24) & 15) - 8;
        const int value = ((top * (64 - fy) + bottom * fy) >> 12) + grain;
        packed |= static_cast<uint32_t>(std::clamp(value, 0, 255)) << (8 * k);
    }
    return packed;
}

/// White, with a black wall on every 4th pair of columns but for a gap, alternately at the bottom and at the top.
uint32_t MazeAt(uint32_t x, uint32_t y, uint32_t side)
{
    if (x < 2 || (x & 3) < 2)
        return 0xFFFFFFFF;
    const bool isGapAtTop = ((x - 2) >> 2 & 1) != 0;
    const bool isWall = isGapAtTop ? y >= 2 : y < side - 2;
    return isWall ? 0xFF000000 : 0xFFFFFFFF;
}

enum Picture : int64_t { kBlank, kNoise, kMaze };

qs::Reference<ilSmartImage> MakePicture(int64_t picture, int side)
{
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    if (picture == kBlank) {
        image->fillTile({0, 0, side, side}, ilPixel::Rgba(255, 255, 255, 255));
        return image;
    }
    qs::vector<uint32_t> row(static_cast<size_t>(side));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const auto ux = static_cast<uint32_t>(x), uy = static_cast<uint32_t>(y);
            row[ux] = picture == kNoise ? NoiseAt(ux, uy) : MazeAt(ux, uy, static_cast<uint32_t>(side));
        }
        image->WriteTile({0, y, side, 1}, reinterpret_cast<const uint8_t*>(row.data()), ptrdiff_t{4} * side);
    }
    return image;
}

/// The same pixels in pages of its own; a blank picture has none to share.
qs::Reference<ilSmartImage> MakeOwnCopy(const ilSmartImage& image, int64_t picture, int side)
{
    const qs::Reference<ilSmartImage> copy(new ilSmartImage(image, 0, 0));
    qs::vector<uint8_t> rows(static_cast<size_t>(side) * 64 * 4);
    for (int y = 0; y < side && picture != kBlank; y += 64) {
        const ilTile tile(0, y, side, std::min(64, side - y));
        image.ReadTile(tile, rows.data(), ptrdiff_t{4} * side);
        copy->WriteTile(tile, rows.data(), ptrdiff_t{4} * side);
    }
    return copy;
}

enum Kind : int64_t { kMask, kSmoothMask, kImage };

/// range(0): picture, range(1): tolerance in levels, range(2): what is written.
void BM_Flood(benchmark::State& state)
{
    const int side = GetBenchCanvas();
    const qs::Reference<ilSmartImage> picture = MakePicture(state.range(0), side);
    const auto tolerance = static_cast<float>(state.range(1)) / 255;
    int64_t filled = 0;
    size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const bool isImage = state.range(2) == kImage;
        const qs::Reference<ilSmartImage> image = isImage ? MakeOwnCopy(*picture, state.range(0), side) : picture;
        const qs::Reference<ilSmartImage> target =
            isImage ? image : qs::Reference<ilSmartImage>(new ilSmartImage(ilPixel(kUnsignedByte, 1)));
        CachedSmartImage from(image), to(target);
        FloodFillOperation fill(from, to, {0, 0, side, side}, tolerance, PaintColor::FromBytes(10, 20, 30));
        fill.SetSmooth(state.range(2) == kSmoothMask);
        state.ResumeTiming();
        if (!fill.DoFlood(1, 1))
            state.SkipWithError("refused");
        state.PauseTiming();
        filled = fill.GetRegion().CountPixels();
        bytes = fill.GetRegion().GetAllocatedBytes();
        state.ResumeTiming();
    }
    state.counters["filled px"] = static_cast<double>(filled);
    state.counters["region KiB"] = static_cast<double>(bytes) / 1024;
}

BENCHMARK(BM_Flood)
    ->ArgNames({"picture", "tolerance", "write"})
    ->ArgsProduct({{kBlank, kMaze}, {0}, {kMask, kSmoothMask, kImage}})
    ->ArgsProduct({{kNoise}, {40, 44, 48}, {kMask, kSmoothMask, kImage}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
