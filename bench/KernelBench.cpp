// Pixels per second of every kernel in every variant, operands in the first-level cache, beside the machine's copy of
// as many bytes (memcpy: four channels, memcpy1: one):  bench-kernels

#include "platform/imaging/kernels/BlendFactor.h"
#include "platform/imaging/kernels/Kernels.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace {

using kernels::KernelTable;

constexpr int kPagePixels = 4096;
constexpr int kRowPixels = 64;
constexpr int kSpanPixels = 2048;  // source and destination of 8 KiB each share the cache

/// Operands that no kernel can make short work of. The source lies half a page off the destination, so that loads do
/// not seem to depend on stores 4 KiB apart.
struct Operands {
    alignas(64) uint8_t dst[4 * kPagePixels];
    alignas(64) uint8_t gap[2048 + 64];
    alignas(64) uint8_t src[4 * kPagePixels];
    alignas(64) uint8_t low[4 * kPagePixels];
    alignas(64) uint8_t coverage[kPagePixels + 128];

    Operands()
    {
        for (int i = 0; i < kPagePixels; ++i) {
            const auto alpha = static_cast<uint8_t>(1 + i % 254);
            const uint8_t pixel[4] = {static_cast<uint8_t>(alpha / 4), static_cast<uint8_t>(alpha / 2), alpha, alpha};
            std::memcpy(src + 4 * i, pixel, sizeof pixel);
        }
        std::memset(dst, 128, sizeof dst);
        std::memset(low, 128, sizeof low);
        for (size_t i = 0; i < sizeof coverage; ++i)
            coverage[i] = static_cast<uint8_t>(1 + i % 254);
    }
};

Operands& TheOperands()
{
    static Operands operands;
    return operands;
}

kernels::StampBlock BlockOf(Operands& o, int channels)
{
    kernels::StampBlock block{};
    block.pixels = o.dst;
    block.lowBits = o.low;
    block.strideBytes = ptrdiff_t{kRowPixels} * channels;
    block.coverage = o.coverage;
    block.coverageStride = kRowPixels;
    block.x0 = 0;
    block.x1 = kRowPixels;
    block.rows = kSpanPixels / kRowPixels;
    return block;
}

using Work = std::function<void(Operands&)>;

void Run(benchmark::State& state, const Work& work, int pixels)
{
    Operands& o = TheOperands();
    for (auto _ : state) {
        work(o);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * pixels);
}

void Add(const std::string& name, const Work& work, int pixels = kSpanPixels)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { Run(state, work, pixels); });
}

void AddStamps(const KernelTable& k, const std::string& suffix)
{
    static constexpr kernels::StampColor kColor{{8160, 16320, 32640, 48960}, 49151, {10880, 21760, 43520, 65280}};
    Add("stampColor" + suffix, [&k](Operands& o) { k.stampColor(BlockOf(o, 4), kColor); });
    Add("stampCoverage" + suffix, [&k](Operands& o) { k.stampCoverage(BlockOf(o, 1), kColor); });
    Add("stampColor16" + suffix, [&k](Operands& o) { k.stampColor16(BlockOf(o, 4), kColor); });
    Add("stampCoverage16" + suffix, [&k](Operands& o) { k.stampCoverage16(BlockOf(o, 1), kColor); });
    Add("stampWet" + suffix, [&k](Operands& o) { k.stampWet(BlockOf(o, 4), kColor, 20000); });
    Add("stampWetCoverage" + suffix, [&k](Operands& o) { k.stampWetCoverage(BlockOf(o, 1), kColor, 20000); });
}

/// Fine pixels: each byte with its fraction beside it. Fractions may be any bytes.
void AddFine(const KernelTable& k, const std::string& suffix)
{
    constexpr int n = kSpanPixels;
    Add("composeFine4" + suffix, [&k](Operands& o) {
        const uint8_t* const sources[] = {o.src, o.src + 4 * n, o.src, o.src + 4 * n};
        k.composeFine(o.dst, o.low, sources, nullptr, o.low + 4 * n, 4, n);
    });
    Add("paintFineWeighted" + suffix, [&k](Operands& o) { k.paintFineWeighted(o.dst, o.low, o.src, 40000, n); });
}

void AddSpans(const KernelTable& k, const std::string& suffix)
{
    constexpr int n = kSpanPixels;
    constexpr kernels::Weight w = 40000;
    Add("paintOver" + suffix, [&k](Operands& o) { k.paintOver(o.dst, o.src, n); });
    Add(
        "paintOverRow" + suffix, [&k](Operands& o) { k.paintOver(o.dst, o.src, kRowPixels); }, kRowPixels);
    Add("composeOver4" + suffix, [&k](Operands& o) {
        const uint8_t* const sources[] = {o.src, o.low, o.src + 4 * n, o.low + 4 * n};
        k.composeOver(o.dst, sources, 4, n);
    });
    AddFine(k, suffix);
    Add("paintOverWeighted" + suffix, [&k](Operands& o) { k.paintOverWeighted(o.dst, o.src, w, n); });
    Add("paintOverCoverage" + suffix, [&k](Operands& o) { k.paintOverCoverage(o.dst, o.src, o.coverage, w, n); });
    Add("paintOverWeighted1" + suffix, [&k](Operands& o) { k.paintOverWeighted1(o.dst, o.src, w, n); });
    Add("copyCoverage" + suffix, [&k](Operands& o) { k.copyCoverage(o.dst, o.src, o.coverage, w, n); });
    Add("copyCoverage1" + suffix, [&k](Operands& o) { k.copyCoverage1(o.dst, o.src, o.coverage, w, n); });
    Add("eraseWeighted" + suffix, [&k](Operands& o) { k.eraseWeighted(o.dst, o.src, w, n); });
    Add("eraseWeighted1" + suffix, [&k](Operands& o) { k.eraseWeighted1(o.dst, o.src, w, n); });
    Add("eraseCoverage" + suffix, [&k](Operands& o) { k.eraseCoverage(o.dst, o.coverage, w, n); });
    Add("keepCoverage" + suffix, [&k](Operands& o) { k.keepCoverage(o.dst, o.coverage, w, n); });
    Add("blendFactors" + suffix, [&k](Operands& o) {
        k.blendFactors(o.dst, o.src, w, 4, kFactorDestinationAlpha, kFactorOneMinusDestinationColor, n);
    });
    Add("scalePixels" + suffix, [&k](Operands& o) { k.scalePixels(o.dst, o.src, w, w, n); });
    Add("invert" + suffix, [&k](Operands& o) { k.invert(o.dst, 4 * n); });
    Add("invertColor" + suffix, [&k](Operands& o) { k.invertColor(o.dst, n); });
    Add("maximum" + suffix, [&k](Operands& o) { k.maximum(o.dst, o.src, 4 * n); });
    Add("foldWords" + suffix, [&k](Operands& o) {
        uint32_t all = 0;
        uint32_t any = 0;
        k.foldWords(o.src, 4 * n, &all, &any);
        benchmark::DoNotOptimize(all ^ any);
    });
}

void AddLooks(const KernelTable& k, const std::string& suffix)
{
    static constexpr kernels::PixelMatch kMatch{{60, 90, 150, 200}, {0, 0, 0, 100}, {255, 255, 255, 255}, 20000};
    static uint64_t bits[kSpanPixels / 64];
    constexpr int words = kSpanPixels / 64;
    Add("matchPixels" + suffix, [&k](Operands& o) { k.matchPixels(bits, o.src, kMatch, words); });
    Add("matchOpaquePixels" + suffix, [&k](Operands& o) { k.matchOpaquePixels(bits, o.src, kMatch, words); });
    Add("matchCoverage" + suffix, [&k](Operands& o) { k.matchCoverage(bits, o.coverage, kMatch, words); });
}

/// Operands of the kernels that resample and adjust: a row of 512 pixels as floats.
struct FloatOperands {
    static constexpr int kPixels = 512;
    alignas(64) float src[4 * (kPixels + 8) * 8];
    alignas(64) float dst[4 * kPixels];
    int32_t firsts[kPixels];
    float weights[4 * kPixels];
    int32_t x[kPixels], y[kPixels];
    float bicubicWeights[kernels::kSampleUnit][4];
    float curve[257];

    FloatOperands()
    {
        for (size_t i = 0; i < std::size(src); ++i)
            src[i] = static_cast<float>(i % 255);
        for (int i = 0; i < kPixels; ++i) {
            firsts[i] = i;
            x[i] = i * kernels::kSampleUnit + 1024 + i;
            y[i] = 2 * kernels::kSampleUnit + i;
        }
        std::fill(std::begin(weights), std::end(weights), 0.25F);
        for (auto& row : bicubicWeights)
            std::fill(std::begin(row), std::end(row), 0.25F);
        for (int i = 0; i < 257; ++i)
            curve[i] = static_cast<float>(std::min(i, 255));
    }
};

void AddResampling(const KernelTable& k, const std::string& suffix)
{
    static FloatOperands f;
    constexpr int n = FloatOperands::kPixels;
    static const kernels::SampleSource source{f.src, 4 * (n + 8), 4, f.bicubicWeights};
    static const kernels::ColorAdjustment adjustment{{f.curve, f.curve, f.curve, f.curve}, true, 3, 1.5F, 0.1F, 0.8F};
    Add(
        "bytesToFloats" + suffix, [&k](Operands& o) { k.bytesToFloats(f.dst, o.src, 4 * n); }, n);
    Add(
        "floatsToPixels" + suffix, [&k](Operands& o) { k.floatsToPixels(o.dst, f.src, 1, n); }, n);
    Add(
        "floatsToCoverage" + suffix, [&k](Operands& o) { k.floatsToCoverage(o.dst, f.src, 1, n); }, n);
    Add(
        "addWeighted" + suffix, [&k](Operands&) { k.addWeighted(f.dst, f.src, 0.5F, 4 * n); }, n);
    Add(
        "filterRow4" + suffix, [&k](Operands&) { k.filterRow(f.dst, f.src, f.firsts, f.weights, 4, 4, n); }, n);
    Add(
        "sampleBilinear" + suffix, [&k](Operands&) { k.sampleBilinear(f.dst, source, f.x, f.y, n); }, n);
    Add(
        "sampleBicubic" + suffix, [&k](Operands&) { k.sampleBicubic(f.dst, source, f.x, f.y, n); }, n);
    Add(
        "adjustColor" + suffix, [&k](Operands& o) { k.adjustColor(o.src, adjustment, n); }, n);
    Add(
        "adjustCoverage" + suffix, [&k](Operands& o) { k.adjustCoverage(o.dst, adjustment, n); }, n);
    Add(
        "mixBytes" + suffix, [&k](Operands& o) { k.mixBytes(o.dst, o.src, 0.5F, 4 * n); }, n);
    Add(
        "sharpenColor" + suffix, [&k](Operands& o) { k.sharpenColor(o.dst, o.src, 0.5F, n); }, n);
}

void AddBlendModes(const KernelTable& k, const std::string& suffix)
{
    static const char* const kNames[kLayerBlendModeCount] = {
        "normal",     "multiply",   "screen",    "overlay",    "darken",     "lighten",
        "colorDodge", "colorBurn",  "hardLight", "softLight",  "difference", "exclusion",
        "hue",        "saturation", "color",     "luminosity", "plus"};
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode)
        Add(std::string("blendMode.") + kNames[mode] + suffix,
            [&k, mode](Operands& o) { k.blendMode[mode](o.dst, o.src, 40000, kSpanPixels); });
}

/// Layers larger than every cache, page by page and row by row: what prefetching is for.
void AddMemoryBound(const KernelTable& k, const std::string& suffix, int spanPixels)
{
    const std::string name = "paintOver64MiB.span" + std::to_string(spanPixels) + suffix;
    benchmark::RegisterBenchmark(name.c_str(), [&k, spanPixels](benchmark::State& state) {
        constexpr size_t kBytes = size_t{64} << 20;
        static std::vector<uint8_t> dst(kBytes + 4096, 128);
        static std::vector<uint8_t> src(kBytes + 4096, 100);
        for (auto _ : state) {
            for (size_t at = 0; at < kBytes; at += 4 * static_cast<size_t>(spanPixels))
                k.paintOver(dst.data() + at, src.data() + 2112 + at, spanPixels);
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBytes / 4));
    });
}

bool AddAll()
{
    Add("memcpy", [](Operands& o) { std::memcpy(o.dst, o.src, 4 * kSpanPixels); });
    Add("memcpy1", [](Operands& o) { std::memcpy(o.dst, o.src, kSpanPixels); });
    for (const KernelTable* const* table = kernels::GetAll(); *table != nullptr; ++table) {
        const std::string suffix = std::string("/") + (*table)->name;
        AddStamps(**table, suffix);
        AddSpans(**table, suffix);
        AddLooks(**table, suffix);
        AddResampling(**table, suffix);
        AddBlendModes(**table, suffix);
        AddMemoryBound(**table, suffix, kRowPixels);
        AddMemoryBound(**table, suffix, kPagePixels);
    }
    return true;
}

const bool kAllAdded = AddAll();

}  // namespace
