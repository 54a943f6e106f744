#include "platform/imaging/regions/FloodFillOperation.h"

#include "platform/imaging/regions/CoverageFilters.h"
#include "platform/imaging/regions/FloodGrowth.h"
#include "platform/imaging/regions/FloodPainter.h"
#include "platform/imaging/regions/FloodSearch.h"
#include "platform/imaging/regions/FloodSoftEdge.h"

#include <algorithm>

FloodFillOperation::FloodFillOperation(CachedSmartImage& source, CachedSmartImage& target, const ilTile& area,
                                       float tolerance, const PaintColor& color)
    : source_(source), target_(target), area_(area), tolerance_(tolerance), color_(color)
{}

void FloodFillOperation::SetTargetOffset(int dx, int dy)
{
    dx_ = dx;
    dy_ = dy;
}

void FloodFillOperation::SetSelection(qs::TempReference<ilMIOImage> image, int x, int y)
{
    selection_ = FloodSelection(std::move(image), x, y);
}

void FloodFillOperation::SetGrowth(int pixels)
{
    growthPx_ = std::clamp(pixels, 0, kMaxGrowPx);
}

bool FloodFillOperation::IsWithinReach() const
{
    const auto isNear = [](int64_t v) { return v >= -kMaxDistance && v <= kMaxDistance; };
    return isNear(area_.x) && isNear(area_.y) && isNear(area_.Right()) && isNear(area_.Bottom()) && isNear(dx_) &&
           isNear(dy_) && isNear(selection_.GetX()) && isNear(selection_.GetY());
}

bool FloodFillOperation::DoFlood(int x, int y)
{
    region_ = FloodRegion();
    if (!color_.IsFinite() || !area_.Contains(x, y) || !IsWithinReach())
        return false;
    const int channels = source_.GetImage().GetNumChannels();
    const ilPixel seed(kUnsignedByte, channels, source_.LookAtPixel(x, y));
    const ColorMatch match(seed, tolerance_);
    if (match.IsRefused())
        return false;
    region_ = FloodSearch(source_, match, area_, selection_).Run(x, y);
    if (region_.IsEmpty())
        return false;
    if (isSmooth_)
        AddSoftEdge(region_, source_, seed, area_);
    if (growthPx_ > 0)
        region_ = GrownRegion(region_, area_, growthPx_);
    source_.LetGo();

    FloodPaint paint;
    paint.value = color_.PixelOf(target_.GetImage().GetNumChannels());
    // A grown edge lies on the outline or beyond, where nothing of the old colour is left to exchange.
    if (&source_.GetImage() == &target_.GetImage() && growthPx_ == 0)
        paint.replaced = seed;
    paint.selection = selection_.MovedBy(dx_, dy_);
    PaintRegion(target_, region_, dx_, dy_, paint);
    return true;
}
