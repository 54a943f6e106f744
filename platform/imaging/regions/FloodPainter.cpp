#include "platform/imaging/regions/FloodPainter.h"

#include "platform/imaging/kernels/Kernels.h"

#include <cstring>

namespace {

using Cover = FloodRegion::Cover;

/// Paints page after page of one image.
class PagePainter {
public:
    PagePainter(CachedSmartImage& image, const FloodRegion& region, int dx, int dy, const FloodPaint& paint)
        : image_(image), region_(region), dx_(dx), dy_(dy), paint_(paint), channels_(paint.value.GetNumChannels()),
          wholePage_(Page::NewUniform(channels_, paint.value.GetPacked()))
    {
        for (int x = 0; x < kPageSize; ++x)
            for (int c = 0; c < channels_; ++c)
                valueRow_[x * channels_ + c] = paint.value.GetComponent(c);
    }

    void Paint(int px, int py)
    {
        const ilTile page = PageTile(px, py);
        const ilTile inRegion = ilTileMoved(page, -int64_t{dx_}, -int64_t{dy_});
        const Cover covered = region_.GetCover(inRegion);
        const Cover selected = paint_.selection.GetCover(page);
        uint32_t present = 0;
        if (selected == Cover::None || (image_.IsOneValue(px, py, present) && present == paint_.value.GetPacked()))
            return;
        if (covered == Cover::All && selected == Cover::All) {
            const bool isFillValue = paint_.value.GetPacked() == image_.GetImage().GetFillValue().GetPacked();
            image_.SetPage(px, py, isFillValue ? PagePtr() : wholePage_);
            return;
        }
        alignas(64) uint8_t coverage[kPagePixels];
        alignas(64) uint8_t selection[kPagePixels];
        region_.ReadCoverage(inRegion, coverage, kPageSize);
        if (selected != Cover::All)
            paint_.selection.Read(page, selection);
        const PageWriter writer = image_.WritePage(px, py);
        for (int y = 0; y < kPageSize; ++y)
            PaintRow(writer.GetBytes() + y * kPageSize * channels_, coverage + y * kPageSize,
                     selected != Cover::All ? selection + y * kPageSize : nullptr);
    }

private:
    void PaintRow(uint8_t* row, uint8_t* coverage, const uint8_t* selection) const
    {
        alignas(64) uint8_t changed[kPageSize * 4];
        const uint8_t* source = valueRow_;
        if (paint_.replaced && ExchangeSoftPixels(row, coverage, changed))
            source = changed;
        for (int x = 0; x < kPageSize && selection != nullptr; ++x)
            coverage[x] = static_cast<uint8_t>(kernels::MulDiv255(coverage[x], selection[x]));
        const auto copy = channels_ == 1 ? kernels_.copyCoverage1 : kernels_.copyCoverage;
        copy(row, source, coverage, kernels::kFullWeight, kPageSize);
    }

    /// Makes what a row becomes, for its coverage to be full where it is not 0; false when no pixel of it is soft.
    bool ExchangeSoftPixels(const uint8_t* row, uint8_t* coverage, uint8_t* changed) const
    {
        const auto isSoft = [](uint8_t c) { return c != 0 && c != 255; };
        if (std::none_of(coverage, coverage + kPageSize, isSoft))
            return false;
        std::memcpy(changed, valueRow_, static_cast<size_t>(kPageSize * channels_));
        for (int x = 0; x < kPageSize; ++x) {
            if (!isSoft(coverage[x]))
                continue;
            uint8_t* pixel = changed + x * channels_;
            for (int c = 0; c < channels_; ++c) {
                const int difference = int{paint_.value.GetComponent(c)} - int{paint_.replaced->GetComponent(c)};
                const int change = coverage[x] * difference;
                const int rounded = (change + (change < 0 ? -127 : 127)) / 255;
                pixel[c] = static_cast<uint8_t>(std::clamp(row[x * channels_ + c] + rounded, 0, 255));
            }
            for (int c = 0; c < channels_; ++c)
                pixel[c] = std::min(pixel[c], pixel[channels_ - 1]);
            coverage[x] = 255;
        }
        return true;
    }

    const kernels::KernelTable& kernels_ = kernels::Get();
    CachedSmartImage& image_;
    const FloodRegion& region_;
    int dx_;
    int dy_;
    const FloodPaint& paint_;
    int channels_;
    PagePtr wholePage_;
    alignas(64) uint8_t valueRow_[kPageSize * 4];
};

}  // namespace

void PaintRegion(CachedSmartImage& image, const FloodRegion& region, int dx, int dy, const FloodPaint& paint)
{
    PagePainter painter(image, region, dx, dy, paint);
    region.ForEachPage([&](int px, int py, Cover) {
        ForEachPage(ilTileMoved(PageTile(px, py), dx, dy), [&](int tx, int ty, const ilTile&) {
            // Up to four pages of the region lie over one of the image: the first of them paints it.
            bool isFirst = true, isFound = false;
            ForEachPage(ilTileMoved(PageTile(tx, ty), -int64_t{dx}, -int64_t{dy}), [&](int x, int y, const ilTile&) {
                isFound = isFound || (x == px && y == py);
                isFirst = isFirst && (isFound || region.GetPageCover(x, y) == Cover::None);
            });
            if (isFirst)
                painter.Paint(tx, ty);
        });
    });
}
