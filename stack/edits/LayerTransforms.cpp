#include "stack/edits/LayerTransforms.h"

#include "layers/Layer.h"
#include "stack/StackRooms.h"
#include "stack/edits/PictureEdits.h"

bool LayerTransforms::XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                            const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = groups_.GetTransformTargets(handle);
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    const bool isDone = pictures_.Edit(targets, [&](const Layer& layer, const EditLimit& limit) {
        return TransformPicture(layer.GetOriginalPicture(), matrix, {minify, magnify}, KeptAround(canvas_.GetSize()),
                                limit);
    });
    for (const PntHandle& target : targets)
        if (Layer* layer = tree_.GetLayerFromHandle(target); isDone && layer != nullptr)
            layer->MovePivot(matrix);
    return isDone;
}

bool LayerTransforms::ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                                 const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = groups_.GetTransformTargets(handle);
    const qsLinear::AffineMatrix matrix = transform.GetMatrix();
    return pictures_.Preview(targets, [&](const Layer& layer, const EditLimit& limit) {
        return TransformPicture(layer.GetOriginalPicture(), matrix, {minify, magnify}, KeptAround(canvas_.GetSize()),
                                limit);
    });
}

bool LayerTransforms::Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                             const PntHandle& handle)
{
    proxy_.End();
    const ilTile from = GetBounds(handle);
    return pictures_.Edit(groups_.GetTransformTargets(handle), [&](const Layer& layer, const EditLimit& limit) {
        return DeformPicture(layer.GetOriginalPicture(), from, corners.Moved(dx, dy), static_cast<WarpKind>(kind),
                             {filter, filter}, KeptAround(canvas_.GetSize()), limit);
    });
}

bool LayerTransforms::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                                  const PntHandle& handle)
{
    const qs::vector<PntHandle> targets = groups_.GetTransformTargets(handle);
    const ilTile from = GetBounds(handle);
    return pictures_.Preview(targets, [&](const Layer& layer, const EditLimit& limit) {
        return DeformPicture(layer.GetOriginalPicture(), from, corners.Moved(dx, dy), static_cast<WarpKind>(kind),
                             {filter, filter}, KeptAround(canvas_.GetSize()), limit);
    });
}

ilTile LayerTransforms::GetBounds(const PntHandle& handle) const
{
    ilTile bounds;
    for (const PntHandle& target : groups_.GetTransformTargets(handle)) {
        const Layer& layer = *tree_.GetLayerFromHandle(target);
        bounds = ilTileUnion(bounds, GetPaintedBox(layer.GetOriginalPicture(), selection_.GetEditLimit(layer)));
    }
    return bounds;
}
