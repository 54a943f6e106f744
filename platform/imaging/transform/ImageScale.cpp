#include "platform/imaging/transform/ImageScale.h"

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/transform/TransformPages.h"

#include <algorithm>
#include <cmath>

namespace {

/// Beyond this, an image is shrunk in steps: tables of weights stay small, and pages that are read together few.
constexpr double kMaxShrink = 32;

constexpr int kStripBytes = 1 << 16;

/// Fills the pages of one scaled image.
class PageScaler {
public:
    PageScaler(const ilMIOImage& source, ilSmartImage& target, const AxisScale& x, const AxisScale& y)
        : source_(source), target_(target), x_(x), y_(y), channels_(source.GetNumChannels()),
          rowFloats_(kPageSize * channels_), sums_(static_cast<size_t>(rowFloats_) * kPageSize),
          filtered_(static_cast<size_t>(rowFloats_))
    {}

    /// Pages come column by column.
    void MakePage(int px, int py)
    {
        if (!across_ || px != column_) {
            across_.emplace(px * kPageSize, kPageSize, x_);
            column_ = px;
            // The weights belong to pixels of a strip from here on.
            firstColumn_ = across_->GetSourceBegin();
            columns_ = across_->GetSourceEnd() - firstColumn_;
            for (int& first : across_->firsts)
                first -= firstColumn_;
        }
        const ResampleTaps down(py * kPageSize, kPageSize, y_);
        const ilTile box(firstColumn_, down.GetSourceBegin(), columns_, down.GetSourceEnd() - down.GetSourceBegin());
        if (const std::optional<uint32_t> value = FindUniformValue(source_, box)) {
            target_.SetPageUniform(px, py, *value);
            return;
        }
        std::fill(sums_.begin(), sums_.end(), 0.0F);
        firstActive_ = 0;
        const int rows = std::max(1, kStripBytes / (columns_ * channels_));
        for (int y = box.y; y < box.Bottom(); y += rows)
            AddStrip(ilTile(box.x, y, box.nx, static_cast<int>(std::min<int64_t>(rows, box.Bottom() - y))), down);
        StorePage(px, py);
    }

private:
    void AddStrip(const ilTile& strip, const ResampleTaps& down)
    {
        const size_t rowBytes = static_cast<size_t>(strip.nx) * static_cast<size_t>(channels_);
        bytes_.resize(rowBytes * static_cast<size_t>(strip.ny));
        floats_.resize(rowBytes);
        source_.ReadTile(strip, bytes_.data(), static_cast<ptrdiff_t>(rowBytes));
        for (int row = 0; row < strip.ny; ++row) {
            const uint8_t* bytes = bytes_.data() + rowBytes * static_cast<size_t>(row);
            kernels_.bytesToFloats(floats_.data(), bytes, static_cast<int>(rowBytes));
            kernels_.filterRow(filtered_.data(), floats_.data(), across_->firsts.data(), across_->weights.data(),
                               across_->tapCount, channels_, kPageSize);
            AddRow(strip.y + row, down);
        }
    }

    /// Gives a source row to the target rows that it belongs to, which move on as the source rows do.
    void AddRow(int y, const ResampleTaps& down)
    {
        while (firstActive_ < kPageSize && down.firsts[static_cast<size_t>(firstActive_)] + down.tapCount <= y)
            ++firstActive_;
        for (int i = firstActive_; i < kPageSize && down.firsts[static_cast<size_t>(i)] <= y; ++i) {
            const int tap = y - down.firsts[static_cast<size_t>(i)];
            const float weight = down.weights[static_cast<size_t>(i * down.tapCount + tap)];
            if (weight != 0)
                kernels_.addWeighted(sums_.data() + i * rowFloats_, filtered_.data(), weight, rowFloats_);
        }
    }

    void StorePage(int px, int py)
    {
        const PageWriter writer(target_.PageForOverwriting(px, py));
        const auto store = channels_ == 4 ? kernels_.floatsToPixels : kernels_.floatsToCoverage;
        store(writer.GetBytes(), sums_.data(), 1, kPagePixels);
    }

    const kernels::KernelTable& kernels_ = kernels::Get();
    const ilMIOImage& source_;
    ilSmartImage& target_;
    const AxisScale x_;
    const AxisScale y_;
    const int channels_;
    const int rowFloats_;
    std::optional<ResampleTaps> across_;
    int column_ = 0;
    int firstColumn_ = 0;
    int columns_ = 0;
    int firstActive_ = 0;
    qs::vector<uint8_t> bytes_;
    qs::vector<float> floats_;
    qs::vector<float> sums_;
    qs::vector<float> filtered_;
};

/// The first step of a strong shrinking: by a whole factor, without a shift.
AxisScale TakeStep(AxisScale& axis)
{
    if (axis.scale >= 1 / kMaxShrink || axis.filter == kFilterNearest)
        return {};
    axis.scale *= kMaxShrink;
    return {1 / kMaxShrink, 0, kFilterArea};
}

}  // namespace

qs::Reference<ilSmartImage> ScaleImage(const ilMIOImage& source, const AxisScale& x, const AxisScale& y,
                                       const ilTile& kept)
{
    AxisScale restX = x;
    AxisScale restY = y;
    const AxisScale stepX = TakeStep(restX);
    const AxisScale stepY = TakeStep(restY);
    if (stepX.scale != 1 || stepY.scale != 1) {
        const qs::Reference<ilSmartImage> smaller = ScaleImage(source, stepX, stepY);
        return smaller ? ScaleImage(*smaller, restX, restY, kept) : nullptr;
    }

    TransformPages touched(kept);
    TransformPages::List pages;
    const qsLinear::AffineMatrix matrix(x.scale, 0, 0, y.scale, x.shift, y.shift);
    if (!touched.AddMapped(source, matrix, ResampleTaps::GetReach(x), ResampleTaps::GetReach(y)) ||
        !touched.Take(pages))
        return {};
    qs::Reference<ilSmartImage> target(new ilSmartImage(source.GetFillValue()));
    PageScaler scaler(source, *target, x, y);
    for (const auto& [px, py] : pages)
        scaler.MakePage(px, py);
    target->ShrinkBounds();
    return target;
}
