#include "platform/imaging/transform/ColorAdjust.h"

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr double kPi = 3.141592653589793;

double Unit(double value)
{
    return std::clamp(value, 0.0, 1.0);
}

double ApplyLevels(const LevelsParm& levels, double value)
{
    if (levels == LevelsParm())
        return value;
    const double black = Unit(levels.inBlack);
    const double white = std::max(Unit(levels.inWhite), black + 1.0 / 1024);
    const double stretched = Unit((value - black) / (white - black));
    const double bent = std::pow(stretched, 1 / std::clamp<double>(levels.gamma, 0.01, 100));
    return Unit(levels.outBlack) + bent * (Unit(levels.outWhite) - Unit(levels.outBlack));
}

double ApplyTone(const ColorAdjustParm& parm, double value)
{
    value = Unit(ApplyLevels(parm.master, value) + std::clamp<double>(parm.brightness, -1, 1));
    if (parm.contrast == 0)
        return value;
    const double slope = std::tan((std::clamp<double>(parm.contrast, -1, 1) + 1) * kPi / 4);
    return Unit((value - 0.5) * std::min(slope, 1e4) + 0.5);
}

/// What the kernels need, made once for an image. Values that come from the mathematical library are rounded well above
/// its last bits.
class Adjustment {
public:
    Adjustment(const ColorAdjustParm& parm, float amount)
    {
        const auto rounded = [](double value) { return static_cast<float>(std::round(value * 255 * 65536) / 65536); };
        for (int level = 0; level <= 255; ++level) {
            const double value = level / 255.0;
            for (size_t c = 0; c < 3; ++c)
                curves_[c][level] = rounded(ApplyTone(parm, ApplyLevels(parm.channels[c], value)));
            curves_[3][level] = rounded(ApplyTone(parm, value));
        }
        for (auto& curve : curves_)
            curve[256] = curve[255];  // for reading one beyond
        const double turns = parm.hue / 360.0;
        kernel_.hueShift = static_cast<float>(std::round((turns - std::floor(turns)) * 12 * 65536) / 65536);
        kernel_.saturation = 1 + std::clamp(parm.saturation, -1.0F, 1.0F);
        kernel_.lightness = std::clamp(parm.lightness, -1.0F, 1.0F);
        kernel_.amount = std::clamp(amount, 0.0F, 1.0F);
        kernel_.turnsColor = kernel_.hueShift != 0 || parm.saturation != 0 || parm.lightness != 0;
        for (size_t c = 0; c < 4; ++c)
            kernel_.curves[c] = curves_[c];
    }
    Adjustment(const Adjustment&) = delete;
    Adjustment& operator=(const Adjustment&) = delete;

    void Apply(uint8_t* pixels, int channels, int count) const
    {
        const kernels::KernelTable& table = kernels::Get();
        (channels == 4 ? table.adjustColor : table.adjustCoverage)(pixels, kernel_, count);
    }
    uint32_t Apply(uint32_t packed, int channels) const
    {
        uint8_t pixel[4];
        std::memcpy(pixel, &packed, 4);
        Apply(pixel, channels, 1);
        std::memcpy(&packed, pixel, 4);
        return packed;
    }

private:
    float curves_[4][257];
    kernels::ColorAdjustment kernel_{};
};

/// Calls add(pixel, count) for all stored pixels within the area.
template <class Add>
void ForStoredPixels(const ilMIOImage& image, const ilTile& area, Add&& add)
{
    const int channels = image.GetNumChannels();
    image.VisitPages(area, [&](int px, int py, const Page& page) {
        const ilTile part = ilTileIntersection(PageTile(px, py), area);
        if (page.IsUniform()) {
            const uint32_t value = page.GetUniformValue();
            uint8_t pixel[4];
            std::memcpy(pixel, &value, 4);
            add(pixel, static_cast<uint64_t>(part.Area()));
            return;
        }
        if (page.GetContent() == PageContent::Transparent)
            return;
        for (int y = 0; y < part.ny; ++y) {
            const uint8_t* row = page.GetBytes() + PageOffsetOf(part.y + y) * page.GetStrideBytes() +
                                 ptrdiff_t{PageOffsetOf(part.x)} * channels;
            for (int x = 0; x < part.nx; ++x)
                add(row + x * channels, 1);
        }
    });
}

void Summarise(ImageAnalysisData::Channel& channel, uint64_t count)
{
    const auto isUsed = [](uint64_t n) { return n != 0; };
    const auto& histogram = channel.histogram;
    const auto first = std::find_if(histogram.begin(), histogram.end(), isUsed);
    if (first == histogram.end())
        return;
    channel.min = static_cast<uint8_t>(first - histogram.begin());
    channel.max =
        static_cast<uint8_t>(histogram.rend() - std::find_if(histogram.rbegin(), histogram.rend(), isUsed) - 1);
    double sum = 0;
    for (size_t value = 0; value < histogram.size(); ++value)
        sum += static_cast<double>(value) * static_cast<double>(histogram[value]);
    channel.mean = sum / static_cast<double>(count);
}

}  // namespace

bool ColorAdjustParm::IsValid() const
{
    bool isFinite = true;
    for (const float value : {brightness, contrast, hue, saturation, lightness})
        isFinite = isFinite && std::isfinite(value);
    for (const LevelsParm& levels : {master, channels[0], channels[1], channels[2]})
        for (const float value : {levels.inBlack, levels.inWhite, levels.gamma, levels.outBlack, levels.outWhite})
            isFinite = isFinite && std::isfinite(value);
    return isFinite;
}

bool ColorAdjustParm::IsNeutral() const
{
    const bool hasLevels = master != LevelsParm() || channels != std::array<LevelsParm, 3>();
    return !hasLevels && brightness == 0 && contrast == 0 && saturation == 0 && lightness == 0 &&
           std::remainder(hue, 360.0F) == 0;
}

ImageAnalysisData AnalyzeImage(const ilMIOImage& image, const ilTile& area)
{
    ImageAnalysisData data;
    const bool isColor = image.GetNumChannels() == 4;
    ForStoredPixels(image, area, [&](const uint8_t* pixel, uint64_t count) {
        const uint32_t alpha = pixel[isColor ? 3 : 0];
        if (alpha == 0)
            return;
        data.count += count;
        data.channels[3].histogram[alpha] += count;
        for (size_t c = 0; isColor && c < 3; ++c)
            data.channels[c].histogram[std::min((pixel[c] * 255U + alpha / 2) / alpha, 255U)] += count;
    });
    for (ImageAnalysisData::Channel& channel : data.channels)
        Summarise(channel, data.count);
    return data;
}

std::array<LevelsParm, 3> MakeAutoLevels(const ImageAnalysisData& data, double clippedPart)
{
    std::array<LevelsParm, 3> levels;
    const auto clipped = static_cast<uint64_t>(std::clamp(clippedPart, 0.0, 0.5) * static_cast<double>(data.count));
    for (size_t c = 0; c < 3; ++c) {
        const auto& histogram = data.channels[c].histogram;
        int black = 0;
        int white = 255;
        uint64_t below = histogram[0];
        uint64_t above = histogram[255];
        while (black < 255 && below <= clipped)
            below += histogram[static_cast<size_t>(++black)];
        while (white > 0 && above <= clipped)
            above += histogram[static_cast<size_t>(--white)];
        if (black < white) {
            levels[c].inBlack = static_cast<float>(black) / 255;
            levels[c].inWhite = static_cast<float>(white) / 255;
        }
    }
    return levels;
}

qs::Reference<ilSmartImage> AdjustColors(const ilMIOImage& image, const ColorAdjustParm& parm, const ilTile& area,
                                         float amount)
{
    qs::Reference<ilSmartImage> result(new ilSmartImage(image.GetFillValue()));
    result->ShareAllFrom(image);
    if (parm.IsNeutral() || !(amount > 0))
        return result;
    const Adjustment adjustment(parm, amount);
    const int channels = image.GetNumChannels();
    const uint32_t fill = image.GetFillValue().GetPacked();
    const uint32_t newFill = adjustment.Apply(fill, channels);
    if (newFill != fill && !area.Contains(ilTile(-(1 << 29), -(1 << 29), 1 << 30, 1 << 30))) {
        // Only a part of what is not stored changes: it has to be stored first.
        constexpr int64_t kMaxArea = int64_t{1} << 31;
        if (area.Area() > kMaxArea)
            return {};
        ForEachPage(area, [&](int px, int py, const ilTile& part) {
            if (image.ReadPage(px, py).IsMissing())
                result->fillTile(part, ilPixel(kUnsignedByte, channels, newFill));
        });
    } else {
        result->SetFillValue(ilPixel(kUnsignedByte, channels, newFill));
    }
    image.VisitPages(area, [&](int px, int py, const Page& page) {
        const ilTile part = ilTileIntersection(PageTile(px, py), area);
        if (page.IsUniform()) {
            const uint32_t value = adjustment.Apply(page.GetUniformValue(), channels);
            if (value != page.GetUniformValue())
                result->fillTile(part, ilPixel(kUnsignedByte, channels, value));
            return;
        }
        if (page.GetContent() == PageContent::Transparent && channels == 4)
            return;
        alignas(64) uint8_t pixels[kPagePixels * 4];
        const size_t bytes = page.GetByteCount();
        std::memcpy(pixels, page.GetBytes(), bytes);
        for (int y = 0; y < part.ny; ++y)
            adjustment.Apply(pixels + PageOffsetOf(part.y + y) * page.GetStrideBytes() +
                                 ptrdiff_t{PageOffsetOf(part.x)} * channels,
                             channels, part.nx);
        if (std::memcmp(pixels, page.GetBytes(), bytes) != 0)
            std::memcpy(PageWriter(result->PageForOverwriting(px, py)).GetBytes(), pixels, bytes);
    });
    return result;
}
