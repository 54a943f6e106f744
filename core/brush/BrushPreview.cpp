#include "core/brush/BrushPreview.h"

#include "core/FlagScope.h"
#include "core/PaintSession.h"
#include "core/brush/BrushState.h"

#include <utility>

BrushPreview::BrushPreview(PaintSession& session) : session_(session), brush_(session.brush) {}

void BrushPreview::Show(const StampPlacement& placement)
{
    const qs::Reference<LayerStack> stack = session_.registry.GetCurrent();
    if (!stack || isRunning_ || stack->CompositesSuspended() || stack->GetCurrentLayerPtr() == nullptr)
        return;
    const FlagScope running(isRunning_);
    const qs::Reference<Stamp> stamp = brush_.MakeSampleStamp();
    const ilTile tile = ilTileIntersection(stamp->GetCoverage(placement).GetTile(), stack->GetSize());
    if (stackHandle_ != session_.registry.GetCurrentHandle() || instance_ != stack->GetLsInstanceHandle())
        Clear();

    // First the plane as the document has it, below the old preview and the new one; the views then hear of both.
    stack->DamageTile(tile_);
    stack->DamageTile(tile);
    stack->UpdateImagePlaneBits();
    tile_ = tile;
    stackHandle_ = session_.registry.GetCurrentHandle();
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
    const qs::Reference<LayerStack> stack = session_.registry.Get(stackHandle_);
    const ilTile shown = std::exchange(tile_, ilTile());
    stackHandle_ = -1;
    if (!stack || shown.IsEmpty() || stack->GetLsInstanceHandle() != instance_)
        return;
    stack->DamageTile(shown);
    stack->ForceUpdate();
}
