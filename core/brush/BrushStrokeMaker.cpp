#include "core/brush/BrushStrokeMaker.h"

#include "platform/imaging/strokes/CurveInterpolate2D.h"
#include "platform/imaging/strokes/SmoothInterpolate2D.h"
#include "platform/imaging/strokes/SymmetryStroke.h"
#include "platform/imaging/strokes/TimerStampStroke.h"

namespace {

std::unique_ptr<Interpolate2D> MakeInterpolator(int kind, const gk_spline* spline)
{
    enum { kFlat, kSmooth, kAlongSpline };
    if (kind == kFlat)
        return std::make_unique<FltInterpolate2D>(true);
    if (kind == kAlongSpline && spline != nullptr)
        return std::make_unique<CurveInterpolate2D>(spline);
    if (kind == kSmooth || kind == kAlongSpline)
        return std::make_unique<SmoothInterpolate2D>(0.9, 0.921, 6);
    return nullptr;
}

}  // namespace

std::unique_ptr<Stroke> singleNewBrushStroke(const BrushStrokeParts& parts, const gk_spline* spline)
{
    const StrokeParameters& stroke = parts.stroke;
    StampStroke::Parms parms;
    parms.spacing = parts.spacingBias * static_cast<double>(stroke.spacing);
    parms.spacingJitter = static_cast<double>(stroke.spacingJitter);
    parms.scatter = static_cast<double>(stroke.scatter);
    parms.directionFollow = static_cast<double>(stroke.directionFollow);
    parms.sizeSpacing = stroke.sizeSpacing;
    parms.isSmear = parts.isSmear;

    std::unique_ptr<Interpolate2D> interpolator = MakeInterpolator(stroke.interpolation, spline);
    if (stroke.timerStroke) {
        auto made = std::make_unique<TimerStampStroke>(parts.painter, parts.stamp, parms, std::move(interpolator));
        made->setBleedInterval(stroke.bleedInterval);
        return made;
    }
    auto made = std::make_unique<StampStroke>(parts.painter, parts.stamp, parms, std::move(interpolator));
    made->SetStampReport(parts.report);
    return made;
}

std::unique_ptr<Stroke> NewSymmetricBrushStroke(const BrushStrokeParts& parts, const Symmetry& symmetry,
                                                const gk_spline* spline, gk_spline* (*copySpline)(const gk_spline*))
{
    qs::vector<std::unique_ptr<Stroke>> strokes;
    for (int image = 0; image < symmetry.numImages(); ++image) {
        std::unique_ptr<gk_spline> ownSpline;
        if (spline != nullptr) {
            ownSpline.reset(copySpline != nullptr ? copySpline(spline) : nullptr);
            if (!ownSpline)
                ownSpline = std::make_unique<gk_spline>(*spline);
            ownSpline->Transform(symmetry.GetImageMatrix(image));
        }
        strokes.push_back(singleNewBrushStroke(parts, ownSpline.get()));
    }
    auto made = std::make_unique<SymmetryStroke>(symmetry);
    made->set_strokes(std::move(strokes));
    return made;
}
