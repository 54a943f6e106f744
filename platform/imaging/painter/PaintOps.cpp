#include "platform/imaging/painter/PaintOps.h"

#include "platform/imaging/blend/RowBlender.h"
#include "platform/imaging/blend/ScaledReader.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/painter/StampPainter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

/// A clipping image, or none, and the target pixel on which its (0, 0) lies.
struct Clip {
    const ilMIOImage* image;
    int x;
    int y;

    bool LeavesNothingOf(const ilTile& part) const
    {
        return image != nullptr && image->GetContentOf(OnImage(part)) == PageContent::Transparent;
    }
    ilTile OnImage(const ilTile& part) const { return ilTileMoved(part, -int64_t{x}, -int64_t{y}); }
};

/// Calls visit(row pointer, stride, part) for each page-sized part of `tile` that the clip leaves, for writing.
template <class Visitor>
void WriteParts(ilImage& target, const ilTile& tile, const Clip& clip, Visitor&& visit)
{
    if (ilMIOImage* paged = target.AsPaged()) {
        ForEachPage(tile, [&](int px, int py, const ilTile& part) {
            if (clip.LeavesNothingOf(part))
                return;
            const PageWriter writer = paged->WritePage(px, py);
            const ptrdiff_t stride = writer.GetPage()->GetStrideBytes();
            visit(writer.GetBytes() + PageOffsetOf(part.y) * stride +
                      ptrdiff_t{PageOffsetOf(part.x)} * target.GetNumChannels(),
                  stride, part);
        });
        return;
    }
    ilMemoryImg& memory = *target.AsMemory();
    ForEachPage(ilTileIntersection(tile, memory.GetBounds()),
                [&](int, int, const ilTile& part) { visit(memory.WriteRows(part), memory.GetStrideBytes(), part); });
}

/// Coverage rows of `part`, read from an optional clipping image.
class ClipRows {
public:
    ClipRows(const Clip& clip, const ilTile& part) : has_(clip.image != nullptr)
    {
        if (has_)
            clip.image->ReadTile(clip.OnImage(part), rows_, kPageSize);
    }
    const uint8_t* GetRow(int y) const { return has_ ? rows_ + y * kPageSize : nullptr; }

private:
    bool has_;
    uint8_t rows_[kPagePixels];
};

}  // namespace

PaintOps::PaintOps(qs::TempReference<ilImage> target) : target_(std::move(target)) {}

PaintOps::~PaintOps() = default;

void PaintOps::set_target_img(qs::TempReference<ilImage> target)
{
    target_ = std::move(target);
    damage_.Clear();
    clipImage_ = nullptr;
}

void PaintOps::blend_func(int source, int destination)
{
    if (source < 0 || source >= kBlendFactorCount || destination < 0 || destination >= kBlendFactorCount)
        return;
    sourceFactor_ = source;
    destinationFactor_ = destination;
}

void PaintOps::set_clip_image(qs::TempReference<ilMIOImage> coverage, int x, int y)
{
    if (coverage && coverage->GetNumChannels() != 1)
        return;
    clipImage_ = std::move(coverage);
    clipX_ = x;
    clipY_ = y;
}

ImageBlend PaintOps::GetBlend(float colorWeight, float alphaWeight) const
{
    ImageBlend blend;
    blend.sourceFactor = mode_ == PaintMode::Copy ? kFactorOne : sourceFactor_;
    blend.destinationFactor = mode_ == PaintMode::Copy ? kFactorZero : destinationFactor_;
    const bool paintsOver = blend.sourceFactor == kFactorOne && blend.destinationFactor == kFactorOneMinusSourceAlpha;
    blend.mode = paintsOver ? layerBlendMode_ : kBlendNormal;
    blend.colorWeight = kernels::WeightFrom(double{colorWeight});
    blend.alphaWeight = kernels::WeightFrom(double{alphaWeight});
    blend.coverage = clipImage_.get();
    blend.coverageX = clipX_;
    blend.coverageY = clipY_;
    return blend;
}

void PaintOps::rect_fill(int x, int y, int nx, int ny, uint32_t packed)
{
    if (target_)
        rect_fill(x, y, nx, ny, ilPixel(target_->GetDataType(), target_->GetNumChannels(), packed));
}

void PaintOps::rect_fill(int x, int y, int nx, int ny, const ilPixel& pixel)
{
    ilTile tile(x, y, nx, ny);
    if (!target_ || tile.IsEmpty() || pixel.GetNumChannels() != target_->GetNumChannels())
        return;
    if (target_->AsMemory() != nullptr)
        tile = ilTileIntersection(tile, target_->GetBounds());
    const bool inverts = mode_ == PaintMode::Invert || mode_ == PaintMode::ColorInvert;
    const ImageBlend blend = GetBlend(1, 1);
    // Painting an opaque colour over, unclipped, is storing it.
    const bool stores = blend.IsPlainCopy() || (blend.IsPlainOver() && pixel.GetAlpha() == 255);
    if (inverts)
        InvertRows(tile);
    else if (stores)
        target_->fillTile(tile, pixel);
    else
        FillRows(tile, pixel);
    DamageTile(tile);
}

void PaintOps::FillRows(const ilTile& tile, const ilPixel& pixel)
{
    const int channels = target_->GetNumChannels();
    const RowBlender blender(channels, GetBlend(1, 1));
    alignas(64) uint8_t row[kPageSize * 4];
    const uint32_t packed = pixel.GetPacked();
    for (int i = 0; i < kPageSize * channels; ++i)
        row[i] = static_cast<uint8_t>(packed >> (8 * (i % channels)));
    const Clip clip{clipImage_.get(), clipX_, clipY_};
    WriteParts(*target_, tile, clip, [&](uint8_t* out, ptrdiff_t stride, const ilTile& part) {
        const ClipRows clipRows(clip, part);
        for (int y = 0; y < part.ny; ++y, out += stride)
            blender.Blend(out, row, clipRows.GetRow(y), part.nx);
    });
}

void PaintOps::InvertRows(const ilTile& tile)
{
    const int channels = target_->GetNumChannels();
    const Clip clip{clipImage_.get(), clipX_, clipY_};
    WriteParts(*target_, tile, clip, [&](uint8_t* out, ptrdiff_t stride, const ilTile& part) {
        const ClipRows clipRows(clip, part);
        for (int y = 0; y < part.ny; ++y, out += stride)
            RowBlender::Invert(channels, mode_ == PaintMode::ColorInvert, out, clipRows.GetRow(y), part.nx);
    });
}

void PaintOps::draw_image(int x, int y, int nx, int ny, const ilImage& source, int sourceX, int sourceY, float xScale,
                          float yScale, float colorWeight, float alphaWeight)
{
    const ilTile tile(x, y, nx, ny);
    const bool hasScale = xScale > 0 && yScale > 0 && std::isfinite(xScale) && std::isfinite(yScale);
    if (!target_ || tile.IsEmpty() || !hasScale)
        return;
    if (mode_ == PaintMode::Invert || mode_ == PaintMode::ColorInvert) {
        rect_fill(x, y, nx, ny, ilPixel(kUnsignedByte, target_->GetNumChannels()));
        return;
    }
    const ImageBlend blend = GetBlend(colorWeight, alphaWeight);
    if (source.GetNumChannels() == 1 && target_->GetNumChannels() == 4)
        BlendColorThrough(*target_, tile, source, sourceX, sourceY, coverageColor_, blend.alphaWeight);
    else if (source.GetNumChannels() != target_->GetNumChannels())
        return;
    else if (xScale == 1 && yScale == 1)
        BlendImage(*target_, tile, source, sourceX, sourceY, blend);
    else
        DrawScaled(tile, source, sourceX, sourceY, xScale, yScale, blend);
    DamageTile(tile);
}

void PaintOps::DrawScaled(const ilTile& tile, const ilImage& source, int sourceX, int sourceY, float xScale,
                          float yScale, const ImageBlend& blend)
{
    const int channels = target_->GetNumChannels();
    const RowBlender blender(channels, blend);
    ScaledReader reader(source, sourceX, sourceY, double{xScale}, double{yScale});
    const Clip clip{clipImage_.get(), clipX_, clipY_};
    WriteParts(*target_, tile, clip, [&](uint8_t* out, ptrdiff_t stride, const ilTile& part) {
        alignas(64) uint8_t rows[kPagePixels * 4];
        const ptrdiff_t rowStride = ptrdiff_t{kPageSize} * channels;
        reader.Read(ilTileMoved(part, -int64_t{tile.x}, -int64_t{tile.y}), rows, rowStride);
        const ClipRows clipRows(clip, part);
        for (int y = 0; y < part.ny; ++y, out += stride)
            blender.Blend(out, rows + y * rowStride, clipRows.GetRow(y), part.nx);
    });
}

PaintOps::StampTarget PaintOps::GetStampTarget()
{
    StampTarget target;
    target.image = target_ ? target_->AsPaged() : nullptr;
    return target;
}

/// The stamp's colour times the opacity, as the kernels take it. Premultiplied: no component above alpha.
kernels::StampColor PaintOps::GetStampColor(float opacity, bool isWet) const
{
    // A wet layer collects the stroke whatever becomes of it: erasing happens when it is composed.
    const bool erases = !isWet && sourceFactor_ == kFactorZero && destinationFactor_ == kFactorOneMinusSourceAlpha;
    const bool replaces = !isWet && sourceFactor_ == kFactorOne && destinationFactor_ == kFactorZero;
    const PaintColor& color = stamp_->get_color();
    const float goalScale = replaces ? 65280.0F : color.a > 0 ? 65280.0F / color.a : 0.0F;
    const float parts[4] = {color.r, color.g, color.b, color.a};
    kernels::StampColor result{};
    result.alpha = kernels::WeightFrom(double{replaces ? opacity : color.a * opacity});
    if (erases)
        return result;
    for (int c = 0; c < 4; ++c) {
        const float part = std::min(parts[c], color.a);
        result.component[c] = static_cast<uint16_t>(part * opacity * 65280.0F + 0.5F);
        result.goal[c] = static_cast<uint16_t>(std::min(part * goalScale + 0.5F, 65280.0F));
    }
    return result;
}

void PaintOps::draw_stamp(const StampPlacement& placement)
{
    if (!stamp_ || !(placement.opacity > 0))
        return;
    const StampTarget target = GetStampTarget();
    if (target.image == nullptr)
        return;
    const PlacedCoverage placed = stamp_->GetCoverage(placement);
    if (!placed.coverage)
        return;
    const ilTile tile = ilTileIntersection(placed.GetTile(), brushClip_);
    if (tile.IsEmpty())
        return;
    // Before painting: when memory runs out half way, what was painted must show.
    DamageTile(tile);
    const float opacity = std::min(placement.opacity, 1.0F);
    const StampPainter::Limits limits{tile, clipImage_.get(), clipX_, clipY_};
    const StampPainter painter(placed, limits);
    const qs::Reference<PaintObj>& source = stamp_->get_source();
    const qs::TempReference<ilImage> pixels = source ? source->GetImage() : qs::TempReference<ilImage>();
    if (pixels && pixels->GetNumChannels() == target.image->GetNumChannels()) {
        const bool erases = sourceFactor_ == kFactorZero;
        painter.PaintSource(*target.image,
                            {pixels.get(), stamp_->get_source_offset_x(), stamp_->get_source_offset_y(),
                             source->IsTiled(), kernels::WeightFrom(double{opacity})},
                            erases);
    } else if (target.isWet) {
        painter.PaintWet(*target.image, GetStampColor(opacity, true), target.wetness);
    } else {
        painter.PaintColor(*target.image, target.lowBits, GetStampColor(opacity, false));
    }
    ++stampCount_;
    stampedPixels_ += static_cast<uint64_t>(tile.Area());
}
