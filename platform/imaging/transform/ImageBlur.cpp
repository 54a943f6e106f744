#include "platform/imaging/transform/ImageBlur.h"

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/transform/ImageScale.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr double kSmallestRadius = 0.1;
constexpr double kLargestRadius = 1000;

/// Above this, the image is blurred at half its size, where half the radius does the same.
constexpr double kMaxDirectRadius = 8;

/// Moves the bytes of a page of `result`, so far the one of `image`, by what `blurred` has there; unchanged pages stay
/// shared.
template <class Move>
void MovePage(ilSmartImage& result, const ilMIOImage& image, const ilMIOImage& blurred, int px, int py, Move&& move)
{
    const ilTile tile = PageTile(px, py);
    const PageReader before = image.ReadPage(px, py);
    const PageReader around = blurred.ReadPage(px, py);
    const auto isUniform = [](const PageReader& page) { return page.IsMissing() || page.GetPage()->IsUniform(); };
    if (isUniform(before) && isUniform(around) && image.GetPixel(tile.x, tile.y) == blurred.GetPixel(tile.x, tile.y))
        return;
    alignas(64) uint8_t old[kPagePixels * 4];
    alignas(64) uint8_t pixels[kPagePixels * 4];
    alignas(64) uint8_t mean[kPagePixels * 4];
    const ptrdiff_t stride = ptrdiff_t{kPageSize} * image.GetNumChannels();
    const size_t bytes = static_cast<size_t>(kPageSize * stride);
    image.ReadTile(tile, old, stride);
    blurred.ReadTile(tile, mean, stride);
    std::memcpy(pixels, old, bytes);
    move(pixels, mean);
    if (std::memcmp(pixels, old, bytes) != 0)
        std::memcpy(PageWriter(result.PageForOverwriting(px, py)).GetBytes(), pixels, bytes);
}

}  // namespace

qs::Reference<ilSmartImage> BlurImage(const ilMIOImage& image, double radius)
{
    if (!(radius >= kSmallestRadius && radius <= kLargestRadius))
        return {};
    if (radius <= kMaxDirectRadius) {
        const AxisScale axis{1, 0, kFilterNearest, radius};
        return ScaleImage(image, axis, axis);
    }
    // Halving and enlarging blur as well: a box of two pixels, in place of one, and a triangle of twice two. Variances
    // add up.
    constexpr double kVarianceOfScaling = 3.0 / 12 + 4.0 / 6;
    const AxisScale halved{0.5, 0, kFilterArea};
    const AxisScale doubled{2, 0, kFilterBilinear};
    const qs::Reference<ilSmartImage> small = ScaleImage(image, halved, halved);
    const qs::Reference<ilSmartImage> blurred =
        small ? BlurImage(*small, std::sqrt((radius * radius - kVarianceOfScaling) / 4)) : nullptr;
    return blurred ? ScaleImage(*blurred, doubled, doubled) : nullptr;
}

qs::Reference<ilSmartImage> SharpenOrBlurImage(const ilMIOImage& image, double amount, double radius)
{
    if (!(amount >= -1 && amount <= 10))
        return {};
    const qs::Reference<ilSmartImage> blurred = BlurImage(image, radius);
    if (!blurred || amount == -1)
        return blurred;
    const qs::Reference<ilSmartImage> result(new ilSmartImage(image.GetFillValue()));
    result->ShareAllFrom(image);
    const kernels::KernelTable& table = kernels::Get();
    const bool keepsAlpha = amount > 0 && image.GetNumChannels() == 4;
    const auto part = static_cast<float>(-amount);
    const int bytes = kPagePixels * image.GetNumChannels();
    const auto move = [&](uint8_t* pixels, const uint8_t* mean) {
        if (keepsAlpha)
            table.sharpenColor(pixels, mean, -part, kPagePixels);
        else
            table.mixBytes(pixels, mean, part, bytes);
    };
    qs::vector<std::pair<int, int>> pages;
    const auto collect = [&](int px, int py, const Page&) { pages.emplace_back(px, py); };
    image.VisitPages(image.GetBounds(), collect);
    if (!keepsAlpha)
        blurred->VisitPages(blurred->GetBounds(), collect);
    std::sort(pages.begin(), pages.end());
    pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
    for (const auto& [px, py] : pages)
        MovePage(*result, image, *blurred, px, py, move);
    result->ShrinkBounds();
    return result;
}
