#include "core/BrushPreview.h"

#include "core/BrushState.h"
#include "core/FlagScope.h"
#include "core/PaintManager.h"

#include <utility>

BrushPreview::BrushPreview(PaintManager& manager, const BrushState& brush) : manager_(manager), brush_(brush) {}

void BrushPreview::Show(const StampPlacement& placement)
{
    const qs::Reference<LayerStack> stack = manager_.GetLayerStack(PaintManager::kCurrentLayerStack);
    if (!stack || isRunning_ || stack->CompositesSuspended() || stack->GetCurrentLayerPtr() == nullptr)
        return;
    const FlagScope running(isRunning_);
    const qs::Reference<Stamp> stamp = brush_.MakeSampleStamp();
    const ilTile tile = ilTileIntersection(stamp->GetCoverage(placement).GetTile(), stack->GetSize());
    if (stackHandle_ != manager_.GetCurrentLayerStack() || instance_ != stack->GetLsInstanceHandle())
        Clear();

    // First the plane as the document has it, below the old preview and the new one; the views then hear of both.
    stack->DamageTile(tile_);
    stack->DamageTile(tile);
    stack->UpdateImagePlaneBits();
    tile_ = tile;
    stackHandle_ = manager_.GetCurrentLayerStack();
    instance_ = stack->GetLsInstanceHandle();
    if (const qs::TempReference<ilSPMemoryImg> plane = stack->GetImagePlane())
        DrawStamp(*plane, tile, stamp, placement);
    stack->ForceUpdate();
}

void BrushPreview::DrawStamp(ilSPMemoryImg& plane, const ilTile& tile, const qs::Reference<Stamp>& stamp,
                             const StampPlacement& placement)
{
    if (tile.IsEmpty())
        return;
    // Stamps are laid down on paged images only.
    const qs::TempReference<ilSmartImage> copy(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    copy->copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, plane, tile.x, tile.y, 0);
    const qs::Reference<PaintOps> painter(new PaintOps(copy));
    painter->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
    painter->SetBrushClippingRect(tile);
    painter->set_stamp(stamp);
    painter->draw_stamp(placement);
    plane.copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, *copy, tile.x, tile.y, 0);
}

void BrushPreview::Clear()
{
    const qs::Reference<LayerStack> stack = manager_.GetLayerStack(stackHandle_);
    const ilTile shown = std::exchange(tile_, ilTile());
    stackHandle_ = -1;
    if (!stack || shown.IsEmpty() || stack->GetLsInstanceHandle() != instance_)
        return;
    stack->DamageTile(shown);
    stack->ForceUpdate();
}
