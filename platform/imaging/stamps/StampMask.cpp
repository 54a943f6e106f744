#include "platform/imaging/stamps/StampMask.h"

#include "platform/imaging/stamps/StampIdentity.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// No stamp shows more than this: its diameter is at most 2560 pixels.
constexpr int kMaxSide = 4096;

StampMask::Level MakeHalf(const StampMask::Level& whole)
{
    StampMask::Level half{(whole.width + 1) / 2, (whole.height + 1) / 2, {}};
    half.bytes.resize(static_cast<size_t>(half.width) * static_cast<size_t>(half.height));
    for (int y = 0; y < half.height; ++y) {
        const uint8_t* upper = whole.GetRow(2 * y);
        const uint8_t* lower = whole.GetRow(std::min(2 * y + 1, whole.height - 1));
        uint8_t* out = half.bytes.data() + static_cast<ptrdiff_t>(y) * half.width;
        for (int x = 0; x < half.width; ++x) {
            const int right = std::min(2 * x + 1, whole.width - 1);
            out[x] = static_cast<uint8_t>((upper[2 * x] + upper[right] + lower[2 * x] + lower[right] + 2) / 4);
        }
    }
    return half;
}

}  // namespace

StampMask::StampMask(const ilImage& image) : identity_(MakeStampIdentity())
{
    const ilTile bounds = image.GetBounds();
    if (bounds.IsEmpty())
        return;
    ReadFirstLevel(image, bounds);
    FindSteepness();
    while (levels_.back().width > 1 || levels_.back().height > 1)
        levels_.push_back(MakeHalf(levels_.back()));
}

/// Row after row, averaged over blocks of `reduction` pixels where the image is larger than any stamp.
void StampMask::ReadFirstLevel(const ilImage& image, const ilTile& bounds)
{
    int reduction = 1;
    while (std::max(bounds.nx, bounds.ny) / reduction > kMaxSide)
        reduction *= 2;
    width_ = static_cast<double>(bounds.nx) / reduction;
    height_ = static_cast<double>(bounds.ny) / reduction;

    const int channels = image.GetNumChannels();
    const auto blocks = [reduction](int pixels) { return (pixels - 1) / reduction + 1; };
    Level level{blocks(bounds.nx), blocks(bounds.ny), {}};
    level.bytes.resize(static_cast<size_t>(level.width) * static_cast<size_t>(level.height));
    qs::vector<uint8_t> row(static_cast<size_t>(bounds.nx) * static_cast<size_t>(channels));
    qs::vector<uint64_t> sums(static_cast<size_t>(level.width));
    for (int blockY = 0; blockY < level.height; ++blockY) {
        std::fill(sums.begin(), sums.end(), 0);
        const int rowsLeft = std::min(reduction, bounds.ny - blockY * reduction);
        for (int y = 0; y < rowsLeft; ++y) {
            image.ReadTile({bounds.x, bounds.y + blockY * reduction + y, bounds.nx, 1}, row.data(),
                           static_cast<ptrdiff_t>(row.size()));
            for (int x = 0; x < bounds.nx; ++x)
                sums[static_cast<size_t>(x / reduction)] += row[static_cast<size_t>(channels * (x + 1) - 1)];
        }
        for (int blockX = 0; blockX < level.width; ++blockX) {
            const auto count = static_cast<uint64_t>(std::min(reduction, bounds.nx - blockX * reduction)) *
                               static_cast<uint64_t>(rowsLeft);
            level.bytes[static_cast<size_t>(blockY) * static_cast<size_t>(level.width) + static_cast<size_t>(blockX)] =
                static_cast<uint8_t>((sums[static_cast<size_t>(blockX)] + count / 2) / count);
        }
    }
    levels_.push_back(std::move(level));
}

void StampMask::FindSteepness()
{
    const Level& level = levels_.front();
    int largest = 0;
    for (int y = 0; y < level.height; ++y) {
        const uint8_t* row = level.GetRow(y);
        const uint8_t* above = level.GetRow(std::max(y - 1, 0));
        for (int x = 0; x < level.width; ++x) {
            largest = std::max(largest, std::abs(row[x] - row[std::max(x - 1, 0)]));
            largest = std::max(largest, std::abs(row[x] - above[x]));
        }
        largest = std::max({largest, int{row[0]}, int{row[level.width - 1]}});
    }
    for (int x = 0; x < level.width; ++x)
        largest = std::max({largest, int{level.GetRow(0)[x]}, int{level.GetRow(level.height - 1)[x]}});
    steepness_ = static_cast<float>(std::max(largest, 1) / 255.0 * std::max(width_, height_) / 2);
}
