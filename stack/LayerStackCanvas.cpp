#include "stack/LayerStack.h"
#include "stack/StackParts.h"

LayerStackComposite* LayerStack::GetLSComposite()
{
    return &parts_->canvas.GetComposite();
}

ilTile LayerStack::GetLayerStackBndInLayerCoord(const PntHandle& handle) const
{
    return parts_->canvas.CanvasOn(handle);
}

PaintOps* LayerStack::GetCurrentLayerPainter()
{
    return parts_->current.GetPainter();
}

PaintOps* LayerStack::GetCLP()
{
    return parts_->current.GetPainterAsLeft();
}

MaskingPaintOps* LayerStack::GetMaskingPainter() const
{
    return parts_->current.GetMaskingPainter();
}

void LayerStack::UpdateBrushClippingRect()
{
    parts_->current.UpdateBrushClippingRect();
}

void LayerStack::setMarkerBlend(bool on)
{
    parts_->current.SetMarkerBlend(on);
}

void LayerStack::setMarkerWetness(float wetness)
{
    parts_->current.SetMarkerWetness(wetness);
}

void LayerStack::SetStencilCompositeDirty(const PntHandle& handle)
{
    parts_->canvas.SetStencilCompositeDirty(handle);
}

void LayerStack::CleanStencilImg_spf()
{
    parts_->current.CleanScratch();
}

qs::TempReference<ilMIOImage> LayerStack::GetLayerTargetImg(Layer* layer, const ilTile& tile, bool full)
{
    return parts_->current.ComposeTarget(layer, tile, full);
}

void LayerStack::DamageTile(const ilTile& tile)
{
    parts_->canvas.DamageTile(tile);
}

bool LayerStack::GetNextUpdateTile(ilTile& tile)
{
    return parts_->update.GetNextUpdateTile(tile);
}

ilTile LayerStack::PreviewUpdateTile()
{
    return parts_->update.PreviewUpdateTile();
}

void LayerStack::DistrustCaches() noexcept
{
    parts_->canvas.DistrustCaches();
}

void LayerStack::UpdateImagePlaneBits(bool overlay, PaintOps* target)
{
    parts_->update.UpdateImagePlaneBits(overlay, target);
}

void LayerStack::UpdateImagePlaneBits(bool overlay)
{
    parts_->update.UpdateImagePlaneBits(overlay);
}

void LayerStack::ForceUpdate()
{
    parts_->update.ForceUpdate();
}

void LayerStack::UpdateViewer(LayerStackView* view)
{
    parts_->update.UpdateViewer(view);
}

void LayerStack::AddViewer(LayerStackView* view)
{
    parts_->views.Add(view);
}

void LayerStack::RemoveViewer(LayerStackView* view)
{
    parts_->views.Remove(view);
}

void LayerStack::TakeViewsFrom(qs::Reference<LayerStack> other)
{
    if (other && other != this)
        parts_->TakeViewsFrom(*other->parts_);
}

void LayerStack::BecomeClosed() noexcept
{
    parts_->BecomeClosed();
}

void LayerStack::MarkAllStale() noexcept
{
    parts_->MarkAllStale();
}

void LayerStack::CountReleased(PageAccount& account) const
{
    parts_->CountReleased(account);
}

void LayerStack::TakePresentationFrom(LayerStack& other)
{
    parts_->TakePresentationFrom(*other.parts_);
}

qs::TempReference<ilImage> LayerStack::GetUpdateImagePlaneBits(bool overlay)
{
    return parts_->update.GetUpdateImagePlaneBits(overlay);
}

qs::TempReference<ilImage> LayerStack::GetCompositeImage()
{
    return GetUpdateImagePlaneBits(false);
}

qs::TempReference<ilSPMemoryImg> LayerStack::GetImagePlane() const
{
    return parts_->plane.Get();
}

void LayerStack::SuspendComposites()
{
    parts_->canvas.SuspendComposites();
}

void LayerStack::ResumeComposites()
{
    parts_->canvas.ResumeComposites();
}

bool LayerStack::CompositesSuspended() const
{
    return parts_->canvas.CompositesSuspended();
}

void LayerStack::SetTimerBasedUpdate(bool on)
{
    parts_->canvas.SetTimerBased(on);
}

void LayerStack::BeginTimerBasedUpdate(int intervalMs)
{
    parts_->views.BeginTimer(intervalMs);
}

void LayerStack::EndTimerBasedUpdate()
{
    parts_->views.EndTimer();
}

void LayerStack::CheckTimerBasedUpdate()
{
    parts_->update.CheckTimerBasedUpdate();
}

void LayerStack::RedrawEntireCanvas()
{
    parts_->redraw.EntireCanvas();
}

void LayerStack::RebuildMaskAndRedrawEntireCanvas()
{
    parts_->redraw.RebuildMask();
}

void LayerStack::RebuildAllAndRedrawEntireCanvas()
{
    parts_->redraw.RebuildAll();
}

void LayerStack::ReuseLSCAndRedrawEntireCanvas(LayerMode mode, const PntHandle& handle)
{
    parts_->redraw.RebuildWithout(mode, handle);
}

void LayerStack::ReuseLSCAndRedrawCanvas(const PntHandle& handle, bool rebuildCache)
{
    parts_->redraw.Refresh(handle, rebuildCache);
}

void LayerStack::RedrawCanvasDueToGeometryChange()
{
    parts_->redraw.AfterGeometryChange();
}

void LayerStack::LayerContentChanged(Layer& layer, const qs::vector<ilTile>& tiles, bool isMoved)
{
    parts_->update.LayerContentChanged(layer, tiles, isMoved);
}

void LayerStack::MakeBelowAndAbove(const PntHandle&)
{
    parts_->canvas.GetComposite().BuildCache(this, false);
}

bool LayerStack::SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip)
{
    return parts_->plane.SetSize(size, clipToSize, notify, updateClip);
}

void LayerStack::CopyImagePlane(qs::Reference<LayerStack> source, bool, bool notify, bool updateClip)
{
    if (source && source != this)
        parts_->plane.TakeFrom(source->parts_->plane, notify, updateClip);
}

void LayerStack::AllocateCacheData()
{
    parts_->plane.Allocate();
}

void LayerStack::FreeCacheData()
{
    parts_->plane.Free();
}

void LayerStack::ReleaseCachedImages()
{
    parts_->canvas.ReleaseCachedImages();
}
