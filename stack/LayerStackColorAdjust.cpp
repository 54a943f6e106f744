#include "platform/imaging/transform/ImageBlur.h"
#include "stack/LayerStack.h"

bool LayerStack::ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    return EditLayers(GetEditTarget(handle), [&](const Layer& layer, const EditLimit& limit) {
        return AdjustPicture(layer.GetOriginalPicture(), parm, {}, amount, limit);
    });
}

bool LayerStack::ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    const qs::vector<PntHandle> target = GetEditTarget(handle);
    return PreviewLayers(target, [&](const Layer& layer, const EditLimit& limit) {
        return AdjustPicture(layer.GetOriginalPicture(), parm, {}, amount, limit);
    });
}

ImageAnalysisData LayerStack::AnalyzeLayer(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr || !layer->GetImage())
        return {};
    const LayerPicture original = layer->GetOriginalPicture();
    const ilTile box = GetPaintedBox(original, GetEditLimit(*layer));
    return AnalyzeImage(*original.image, ilTileMoved(box, -int64_t{original.x}, -int64_t{original.y}));
}

bool LayerStack::SharpenOrBlurDone(float amount, float radius, const PntHandle& handle)
{
    return EditLayers(GetEditTarget(handle), [&](const Layer& layer, const EditLimit& limit) {
        const LayerPicture original = layer.GetOriginalPicture();
        const LayerPicture changed{SharpenOrBlurImage(*original.image, amount, radius), original.x, original.y};
        return changed ? LimitPicture(original, changed, limit) : changed;
    });
}
