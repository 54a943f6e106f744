#include "stack/LayerStack.h"
#include "stack/StackParts.h"

#include <algorithm>

bool LayerStack::EditLayers(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    parts_->proxy.End();
    bool isDone = false;
    ProxyParameters parameters;
    parameters.scope = ProxyParameters::kScopeWholeLayer;
    parameters.keepsEdits->Connect([&isDone](bool& keeps, const qs::vector<PntHandle>&) { keeps = isDone; });
    if (handles.empty() || !parts_->proxy.Begin(parameters, handles))
        return false;
    try {
        isDone = EditInProxy(handles, make);
        parts_->proxy.End();
    } catch (...) {
        parts_->proxy.Drop();
        throw;
    }
    return isDone;
}

/// The same as a preview, in the proxy in progress or one that it begins.
bool LayerStack::PreviewLayers(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    const bool begins = !parts_->proxy.IsRunning();
    const ProxyParameters parameters = {};  // named: g++ 12 destroys a temporary here whose making has failed
    if (handles.empty() || !parts_->proxy.Begin(parameters, handles))
        return false;
    bool isDone = false;
    try {
        isDone = EditInProxy(handles, make);
    } catch (...) {
        if (begins)
            parts_->proxy.Drop();
        throw;
    }
    if (!isDone && begins)
        parts_->proxy.End();
    return isDone;
}

bool LayerStack::EditInProxy(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    parts_->current.DrainDamage();
    qs::vector<LayerPicture> pictures;
    for (const PntHandle& handle : handles) {
        const Layer& layer = *parts_->tree.GetLayerFromHandle(handle);
        pictures.push_back(layer.InProxy() ? make(layer, parts_->selection.GetEditLimit(layer)) : LayerPicture());
        if (!pictures.back())
            return false;
    }
    for (size_t i = 0; i < handles.size(); ++i) {
        Layer& layer = *parts_->tree.GetLayerFromHandle(handles[i]);
        parts_->proxy.DamageEdits(layer);  // what the last preview showed
        layer.TakePicture(pictures[i]);
        parts_->proxy.DamageEdits(layer);
    }
    parts_->current.UpdateBrushClippingRect();
    parts_->current.UpdateClip();
    return true;
}

bool LayerStack::XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                       const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = parts_->groups.GetTransformTargets(handle);
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    const bool isDone = EditLayers(targets, [&](const Layer& layer, const EditLimit& limit) {
        return TransformPicture(layer.GetOriginalPicture(), matrix, {minify, magnify},
                                KeptAround(parts_->canvas.GetSize()), limit);
    });
    for (const PntHandle& target : targets)
        if (Layer* layer = parts_->tree.GetLayerFromHandle(target); isDone && layer != nullptr)
            layer->MovePivot(matrix);
    return isDone;
}

bool LayerStack::ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                            const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = parts_->groups.GetTransformTargets(handle);
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    return PreviewLayers(targets, [&](const Layer& layer, const EditLimit& limit) {
        return TransformPicture(layer.GetOriginalPicture(), matrix, {minify, magnify},
                                KeptAround(parts_->canvas.GetSize()), limit);
    });
}

bool LayerStack::Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                        const PntHandle& handle)
{
    parts_->proxy.End();
    const ilTile from = GetTransformBounds(handle);
    return EditLayers(parts_->groups.GetTransformTargets(handle), [&](const Layer& layer, const EditLimit& limit) {
        return DeformPicture(layer.GetOriginalPicture(), from, corners.Moved(dx, dy), static_cast<WarpKind>(kind),
                             {filter, filter}, KeptAround(parts_->canvas.GetSize()), limit);
    });
}

bool LayerStack::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                             const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = parts_->groups.GetTransformTargets(handle);
    const ilTile from = GetTransformBounds(handle);
    return PreviewLayers(targets, [&](const Layer& layer, const EditLimit& limit) {
        return DeformPicture(layer.GetOriginalPicture(), from, corners.Moved(dx, dy), static_cast<WarpKind>(kind),
                             {filter, filter}, KeptAround(parts_->canvas.GetSize()), limit);
    });
}

ilTile LayerStack::GetTransformBounds(const PntHandle& handle) const
{
    ilTile bounds;
    for (const PntHandle& target : parts_->groups.GetTransformTargets(handle)) {
        const Layer& layer = *parts_->tree.GetLayerFromHandle(target);
        bounds = ilTileUnion(bounds, GetPaintedBox(layer.GetOriginalPicture(), parts_->selection.GetEditLimit(layer)));
    }
    return bounds;
}
