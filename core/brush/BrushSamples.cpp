#include "core/brush/BrushSamples.h"

#include "core/brush/BrushStrokeMaker.h"
#include "core/brush/StrokeSampleRules.h"
#include "platform/imaging/painter/MaskingPaintOps.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr int kStrokeSamples = 64;
constexpr float kLightestOpacity = 0.2F;

qs::Reference<PaintOps> PainterOn(const BrushState& brush, const qs::TempReference<ilSmartImage>& image,
                                  const ilTile& clip, float scale)
{
    const qs::Reference<PaintOps> painter(new MaskingPaintOps(image));
    painter->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
    painter->SetBrushClippingRect(clip);
    painter->set_stamp(brush.MakeSampleStamp(scale));
    painter->SetMarkerBlend(brush.GetStroke().markerBlend);
    painter->SetMarkerWetness(brush.GetBrush().markerWetness);
    return painter;
}

qs::TempReference<ilSmartImage> ImageOf(const PaintOps& painter)
{
    return static_cast<ilSmartImage*>(painter.target_img());
}

}  // namespace

qs::Reference<PaintOps> BrushSamples::MakePainter(const BrushState& brush, int width, int height, float scale)
{
    const qs::TempReference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    return PainterOn(brush, image, {0, 0, width, height}, scale);
}

qs::TempReference<ilSmartImage> BrushSamples::MakeStamp(const BrushState& brush, int width, int height, float size)
{
    const qs::Reference<PaintOps> painter = MakePainter(brush, width, height, 1);
    StampPlacement placement;
    placement.x = width * 0.5;
    placement.y = height * 0.5;
    placement.size = LimitedSampleSize(size);
    painter->draw_stamp(placement);
    return ImageOf(*painter);
}

qs::TempReference<ilSmartImage> BrushSamples::MakeStroke(const BrushState& brush, int width, int height, float size)
{
    const qs::Reference<PaintOps> painter = MakePainter(brush, width, height, 1);
    const float fullest = LimitedSampleSize(size);
    const float ratio = brush.GetBrush().firstSize / std::max(brush.GetBrush().secondSize, 1.0F);
    const float lightest = fullest * std::clamp(ratio, 0.0F, 1.0F);

    BrushStrokeParts parts;
    parts.painter = painter.get();
    parts.stamp = painter->get_stamp();
    parts.stroke = brush.GetStroke();
    parts.stroke.timerStroke = false;
    parts.stroke.interpolation = 1;
    parts.spacingBias = brush.GetSpacingBias(fullest);
    const std::unique_ptr<Stroke> stroke = singleNewBrushStroke(parts, nullptr);

    const double margin = std::min({double{fullest}, width * 0.25, height * 0.25});
    painter->BeginOperation();
    for (int i = 0; i <= kStrokeSamples; ++i) {
        const double t = static_cast<double>(i) / kStrokeSamples;
        const double x = margin + t * (width - 2 * margin);
        const double y = height * 0.5 - std::sin(2 * std::numbers::pi * t) * (height * 0.5 - margin);
        const auto pressure = static_cast<float>(std::sin(std::numbers::pi * t));
        stroke->add_point(static_cast<float>(x), static_cast<float>(y), lightest + (fullest - lightest) * pressure,
                          kLightestOpacity + (1 - kLightestOpacity) * pressure, 1, 0);
    }
    stroke->finish();
    painter->EndOperation();
    return ImageOf(*painter);
}

qs::Reference<PaintOps> BrushSamples::MakeLayerPainter(const BrushState& brush, const Layer& layer,
                                                       const ilTile& canvas, float scale)
{
    const qs::TempReference<ilMIOImage> source = layer.GetImage();
    if (!source)
        return {};
    const ilTile scaled(0, 0, static_cast<int>(std::ceil(static_cast<double>(canvas.nx) * scale)),
                        static_cast<int>(std::ceil(static_cast<double>(canvas.ny) * scale)));
    const qs::TempReference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, source->GetNumChannels())));
    const qs::Reference<PaintOps> painter = PainterOn(brush, image, scaled, scale);
    painter->set_paint_mode(PaintOps::PaintMode::Copy);
    painter->draw_image(0, 0, scaled.nx, scaled.ny, *source, -layer.getXOffset(), -layer.getYOffset(), scale, scale);
    painter->set_paint_mode(PaintOps::PaintMode::Blend);
    return painter;
}
