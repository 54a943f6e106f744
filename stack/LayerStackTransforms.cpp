#include "stack/LayerStack.h"

#include <algorithm>

qs::vector<PntHandle> LayerStack::GetEditTarget(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr || !layer->GetImage())
        return {};
    return {layer->GetLayerContainerHandle()};
}

qs::vector<PntHandle> LayerStack::GetTransformTargets(const PntHandle& handle) const
{
    qs::vector<PntHandle> group = getTransformGroup(handle);
    std::erase_if(group, [&](const PntHandle& one) { return GetEditTarget(one).empty(); });
    return group.empty() ? GetEditTarget(handle) : group;
}

EditLimit LayerStack::GetEditLimit(const Layer& layer) const
{
    if (!isSelectionMaskUsed() || &layer == selectionMask_.get())
        return {};
    return {selectionMask_->GetImage(), selectionMask_->getXOffset(), selectionMask_->getYOffset()};
}

bool LayerStack::EditLayers(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    EndProxy();
    bool isDone = false;
    ProxyParameters parameters;
    parameters.scope = ProxyParameters::kScopeWholeLayer;
    parameters.keepsEdits->Connect([&isDone](bool& keeps, const qs::vector<PntHandle>&) { keeps = isDone; });
    if (handles.empty() || !BeginProxy(parameters, handles))
        return false;
    try {
        isDone = EditInProxy(handles, make);
        EndProxy();
    } catch (...) {
        DropProxy();
        throw;
    }
    return isDone;
}

/// The same as a preview, in the proxy in progress or one that it begins.
bool LayerStack::PreviewLayers(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    const bool begins = !inProxy_;
    const ProxyParameters parameters = {};  // named: g++ 12 destroys a temporary here whose making has failed
    if (handles.empty() || !BeginProxy(parameters, handles))
        return false;
    bool isDone = false;
    try {
        isDone = EditInProxy(handles, make);
    } catch (...) {
        if (begins)
            DropProxy();
        throw;
    }
    if (!isDone && begins)
        EndProxy();
    return isDone;
}

bool LayerStack::EditInProxy(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    DrainPainterDamage();
    qs::vector<LayerPicture> pictures;
    for (const PntHandle& handle : handles) {
        const Layer& layer = *GetLayerFromHandle(handle);
        pictures.push_back(layer.InProxy() ? make(layer, GetEditLimit(layer)) : LayerPicture());
        if (!pictures.back())
            return false;
    }
    for (size_t i = 0; i < handles.size(); ++i) {
        Layer& layer = *GetLayerFromHandle(handles[i]);
        DamageProxyEdits(layer);  // what the last preview showed
        layer.TakePicture(pictures[i]);
        DamageProxyEdits(layer);
    }
    UpdateBrushClippingRect();
    UpdatePainterClip();
    return true;
}

bool LayerStack::XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                       const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = GetTransformTargets(handle);
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    const bool isDone = EditLayers(targets, [&](const Layer& layer, const EditLimit& limit) {
        return TransformPicture(layer.GetOriginalPicture(), matrix, {minify, magnify}, KeptAround(size_), limit);
    });
    for (const PntHandle& target : targets)
        if (Layer* layer = GetLayerFromHandle(target); isDone && layer != nullptr)
            layer->MovePivot(matrix);
    return isDone;
}

bool LayerStack::ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                            const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = GetTransformTargets(handle);
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    return PreviewLayers(targets, [&](const Layer& layer, const EditLimit& limit) {
        return TransformPicture(layer.GetOriginalPicture(), matrix, {minify, magnify}, KeptAround(size_), limit);
    });
}

bool LayerStack::Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                        const PntHandle& handle)
{
    EndProxy();
    const ilTile from = GetTransformBounds(handle);
    return EditLayers(GetTransformTargets(handle), [&](const Layer& layer, const EditLimit& limit) {
        return DeformPicture(layer.GetOriginalPicture(), from, corners.Moved(dx, dy), static_cast<WarpKind>(kind),
                             {filter, filter}, KeptAround(size_), limit);
    });
}

bool LayerStack::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                             const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = GetTransformTargets(handle);
    const ilTile from = GetTransformBounds(handle);
    return PreviewLayers(targets, [&](const Layer& layer, const EditLimit& limit) {
        return DeformPicture(layer.GetOriginalPicture(), from, corners.Moved(dx, dy), static_cast<WarpKind>(kind),
                             {filter, filter}, KeptAround(size_), limit);
    });
}

ilTile LayerStack::GetTransformBounds(const PntHandle& handle) const
{
    ilTile bounds;
    for (const PntHandle& target : GetTransformTargets(handle)) {
        const Layer& layer = *GetLayerFromHandle(target);
        bounds = ilTileUnion(bounds, GetPaintedBox(layer.GetOriginalPicture(), GetEditLimit(layer)));
    }
    return bounds;
}
