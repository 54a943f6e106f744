#include "platform/imaging/transform/ImageBlur.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"

bool LayerStack::ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    return EditLayers(parts_->groups.GetEditTarget(handle), [&](const Layer& layer, const EditLimit& limit) {
        return AdjustPicture(layer.GetOriginalPicture(), parm, {}, amount, limit);
    });
}

bool LayerStack::ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    const qs::vector<PntHandle> target = parts_->groups.GetEditTarget(handle);
    return PreviewLayers(target, [&](const Layer& layer, const EditLimit& limit) {
        return AdjustPicture(layer.GetOriginalPicture(), parm, {}, amount, limit);
    });
}

ImageAnalysisData LayerStack::AnalyzeLayer(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr || !layer->GetImage())
        return {};
    const LayerPicture original = layer->GetOriginalPicture();
    const ilTile box = GetPaintedBox(original, parts_->selection.GetEditLimit(*layer));
    return AnalyzeImage(*original.image, ilTileMoved(box, -int64_t{original.x}, -int64_t{original.y}));
}

bool LayerStack::SharpenOrBlurDone(float amount, float radius, const PntHandle& handle)
{
    return EditLayers(parts_->groups.GetEditTarget(handle), [&](const Layer& layer, const EditLimit& limit) {
        const LayerPicture original = layer.GetOriginalPicture();
        const LayerPicture changed{SharpenOrBlurImage(*original.image, amount, radius), original.x, original.y};
        return changed ? LimitPicture(original, changed, limit) : changed;
    });
}
