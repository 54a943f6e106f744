#include "stack/edits/ColorEdits.h"

#include "layers/Layer.h"
#include "platform/imaging/transform/ImageBlur.h"
#include "stack/StackRooms.h"
#include "stack/edits/PictureEdits.h"

bool ColorEdits::Adjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    return pictures_.Edit(groups_.GetEditTarget(handle), [&](const Layer& layer, const EditLimit& limit) {
        return AdjustPicture(layer.GetOriginalPicture(), parm, {}, amount, limit);
    });
}

bool ColorEdits::PreviewAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    const qs::vector<PntHandle> target = groups_.GetEditTarget(handle);
    return pictures_.Preview(target, [&](const Layer& layer, const EditLimit& limit) {
        return AdjustPicture(layer.GetOriginalPicture(), parm, {}, amount, limit);
    });
}

ImageAnalysisData ColorEdits::Analyze(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || !layer->GetImage())
        return {};
    const LayerPicture original = layer->GetOriginalPicture();
    const ilTile box = GetPaintedBox(original, selection_.GetEditLimit(*layer));
    return AnalyzeImage(*original.image, ilTileMoved(box, -int64_t{original.x}, -int64_t{original.y}));
}

bool ColorEdits::SharpenOrBlur(float amount, float radius, const PntHandle& handle)
{
    return pictures_.Edit(groups_.GetEditTarget(handle), [&](const Layer& layer, const EditLimit& limit) {
        const LayerPicture original = layer.GetOriginalPicture();
        const LayerPicture changed{SharpenOrBlurImage(*original.image, amount, radius), original.x, original.y};
        return changed ? LimitPicture(original, changed, limit) : changed;
    });
}
