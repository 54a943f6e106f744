#include "layers/Layer.h"

namespace {

/// The part of the pixels that automatic levels leave out at each end: single stray pixels decide nothing.
constexpr double kAutoLevelsClip = 0.001;

}  // namespace

LayerPicture Layer::GetOriginalPicture() const
{
    if (inProxy_)
        return {origImage_, origXOffset_, origYOffset_};
    return {image_, xOffset_, yOffset_};
}

bool Layer::TakePicture(const LayerPicture& picture)
{
    if (!picture || !image_ || picture.image->GetNumChannels() != image_->GetNumChannels())
        return false;
    image_->ShareAllFrom(*picture.image);
    SetOffset_(picture.x, picture.y);
    postForm();
    return true;
}

void Layer::postForm()
{
    ShrinkBounds(false, false);
    SetStencilCompositeDirty(true);
    if (!inProxy_)
        TellImageChanged();
}

void Layer::ReplacePicture(const LayerPicture& picture, const qsLinear::AffineMatrix& matrix)
{
    const bool isOther = image_ != picture.image;
    image_ = picture.image;
    SetOffset_(picture.x, picture.y);
    MovePivot(matrix);
    SetStencilCompositeDirty(true);
    if (isOther)
        TellImageChanged();
}

bool Layer::XForm(LayerStackTransform transform, FilterMethod minify, FilterMethod magnify)
{
    EndProxy();
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    if (!image_ || !TakePicture(TransformPicture(GetOriginalPicture(), matrix, {minify, magnify})))
        return false;
    MovePivot(matrix);
    return true;
}

void Layer::MovePivot(const qsLinear::AffineMatrix& matrix)
{
    if (!pivot_.valid)
        return;
    double x = pivot_.x;
    double y = pivot_.y;
    matrix.MapPoint(x, y);
    pivot_.x = static_cast<float>(x);
    pivot_.y = static_cast<float>(y);
}

bool Layer::ProxyXForm(LayerStackTransform transform, FilterMethod minify, FilterMethod magnify)
{
    return inProxy_ && TakePicture(TransformPicture(GetOriginalPicture(), transform.GetMatrix(), {minify, magnify}));
}

bool Layer::Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy)
{
    EndProxy();
    return DeformOriginal(corners.Moved(dx, dy), filter, kind);
}

bool Layer::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy)
{
    return inProxy_ && DeformOriginal(corners.Moved(dx, dy), filter, kind);
}

bool Layer::DeformOriginal(const Rect8f& onCanvas, FilterMethod filter, int kind)
{
    const LayerPicture original = GetOriginalPicture();
    return TakePicture(
        DeformPicture(original, GetPaintedBox(original), onCanvas, static_cast<WarpKind>(kind), {filter, filter}));
}

LayerPicture Layer::GetScaleLayerImage(double xScale, double yScale, FilterMethod minify, FilterMethod magnify) const
{
    const LayerPicture original = GetOriginalPicture();
    if (!original)
        return {};
    return RebasePicture(original, qsLinear::AffineMatrix::Scale(xScale, yScale), {minify, magnify});
}

bool Layer::ProxyColorAdjust(ColorAdjustParm* parm, ImageAnalysisData* data, ilTile tile, float amount, bool analyses,
                             bool autoLevels)
{
    if (!inProxy_ || parm == nullptr)
        return false;
    const LayerPicture original = GetOriginalPicture();
    ColorAdjustParm used = *parm;
    if (analyses || autoLevels) {
        const ilTile onImage = ilTileMoved(tile, -int64_t{original.x}, -int64_t{original.y});
        const ImageAnalysisData found =
            AnalyzeImage(*original.image, tile.IsEmpty() ? original.image->GetBounds() : onImage);
        if (analyses && data != nullptr)
            *data = found;
        if (autoLevels)
            used.channels = MakeAutoLevels(found, kAutoLevelsClip);
    }
    return TakePicture(AdjustPicture(original, used, tile, amount));
}
