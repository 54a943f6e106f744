#include "stack/edits/LayerFlip.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

namespace {

/// A layer about to be mirrored: everything that can run out of memory is made before anything changes.
struct Mirrored {
    qs::Reference<Layer> layer;
    qs::Reference<ilSmartImage> pixels;
    ilTile bounds;  // on the canvas
};

}  // namespace

qs::vector<PntHandle> LayerFlip::GetFlippedWith(const PntHandle& handle) const
{
    if (tree_.GetLayerFromHandle(handle) == nullptr)
        return {};
    qs::vector<PntHandle> flipped = groups_.GetTransformTargets(handle);
    const auto append = [&](const PntHandle& follower) {
        if (tree_.GetLayerFromHandle(follower)->IsHardLinkToOwnerLayer() &&
            std::find(flipped.begin(), flipped.end(), follower) == flipped.end())
            flipped.push_back(follower);
    };
    for (size_t i = 0, count = flipped.size(); i < count; ++i) {
        const qs::vector<PntHandle> masks = tree_.GetMaskLayers(flipped[i]);
        const qs::vector<PntHandle> stencils = tree_.GetStencilLayers(flipped[i]);
        std::for_each(masks.begin(), masks.end(), append);
        std::for_each(stencils.begin(), stencils.end(), append);
    }
    std::erase_if(flipped, [&](const PntHandle& one) {
        const Layer* found = tree_.GetLayerFromHandle(one);
        return found == nullptr || !found->GetImage() || found->GetLayerType() != kLayerTypeRaster;
    });
    return flipped;
}

bool LayerFlip::Flip(const PntHandle& handle, bool horizontal, bool vertical)
{
    const StackEdit edit(stack_);
    BeginEdit();
    if (!horizontal && !vertical)
        return false;
    qs::vector<Mirrored> all;
    const qs::vector<PntHandle> members = groups_.GetTransformTargets(handle);
    ilTile area;  // of the members; all is mirrored within it, also what only follows them
    for (const PntHandle& name : GetFlippedWith(handle)) {
        const qs::Reference<Layer> layer = tree_.GetLayerFromHandle(name);
        const ilTile bounds = layer->getLayerBoundsInCanvasCoords();
        if (bounds.IsEmpty())
            continue;
        all.push_back({layer, layer->MakeFlippedImage(horizontal, vertical), bounds});
        if (std::find(members.begin(), members.end(), name) != members.end())
            area = ilTileUnion(area, bounds);
    }
    if (area.IsEmpty())
        return false;
    for (const auto& [layer, pixels, bounds] : all) {
        const ilTile origin(layer->getXOffset(), layer->getYOffset(), 1, 1);
        const ilTile moved =
            ilTileMoved(origin, horizontal ? int64_t{area.x} - bounds.x + area.Right() - bounds.Right() : 0,
                        vertical ? int64_t{area.y} - bounds.y + area.Bottom() - bounds.Bottom() : 0);
        canvas_.DamageLayer(*layer);
        layer->TakePixels(*pixels);
        layer->SetOffset(moved.x, moved.y, LayerStackTransform(), true);
        canvas_.TellChanged(*layer);
        canvas_.DamageLayer(*layer);
    }
    current_.GetPainter();
    update_.ShowChange();
    return true;
}
