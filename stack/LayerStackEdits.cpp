#include "stack/LayerStack.h"
#include "stack/StackParts.h"

#include <algorithm>
#include <utility>

void LayerStack::SetSymmetry(Symmetry* symmetry)
{
    parts_->settings.SetSymmetry(symmetry);
}

void LayerStack::SetShowCurrentLayerOnly(bool on)
{
    parts_->settings.SetShowCurrentLayerOnly(on);
}

void LayerStack::SetMaskDisable(bool disable)
{
    parts_->settings.SetMaskDisabled(disable);
}

void LayerStack::SetMaskVisible(bool visible)
{
    parts_->settings.SetMaskVisible(visible);
}

void LayerStack::SwapProperties(DocumentProperties& properties) noexcept
{
    parts_->settings.Swap(properties);
}

void LayerStack::SetCurrentLayer(const PntHandle& handle, bool redraw, bool splitFlag, bool force)
{
    parts_->layerSwitch.SetCurrent(handle, redraw, splitFlag, force);
}

LayerMode LayerStack::GetLayerMode(const PntHandle& handle) const
{
    return parts_->layerProperties.GetMode(handle);
}

LayerBlendMode LayerStack::GetLayerBlend(const PntHandle& handle) const
{
    return parts_->layerProperties.GetBlend(handle);
}

void LayerStack::SetLayerBlend(const PntHandle& handle, LayerBlendMode mode)
{
    parts_->layerProperties.SetBlend(handle, mode);
}

void LayerStack::SetLayerOpacity(const PntHandle& handle, float opacity)
{
    parts_->layerProperties.SetOpacity(handle, opacity);
}

float LayerStack::GetLayerOpacity(const PntHandle& handle) const
{
    return parts_->layerProperties.GetOpacity(handle);
}

void LayerStack::SetLayerVisible(const PntHandle& handle, bool visible, bool redraw)
{
    parts_->visibility.SetVisible(handle, visible, redraw);
}

bool LayerStack::isLayerVisible(const PntHandle& handle) const
{
    return parts_->layerProperties.IsVisible(handle);
}

void LayerStack::SetAllLayerVisible(bool visible, bool redraw)
{
    parts_->visibility.SetAllVisible(visible, redraw);
}

void LayerStack::SetAllLayerVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw)
{
    parts_->visibility.SetAllVisible(handles, visible, redraw);
}

void LayerStack::SetLayerFolderActive(const PntHandle& handle, bool active, bool redraw)
{
    parts_->visibility.SetFolderActive(handle, active, redraw);
}

void LayerStack::SetLayerActive(const PntHandle& handle, bool active)
{
    parts_->visibility.SetActive(handle, active);
}

void LayerStack::SetLayerContainerName(const PntHandle& handle, const char* name)
{
    parts_->layerProperties.SetName(handle, name);
}

void LayerStack::SetLayerContainerLocked(const PntHandle& handle, bool locked)
{
    parts_->layerProperties.SetLocked(handle, locked);
}

void LayerStack::SetLayerOffset(const PntHandle& handle, int x, int y, bool redraw)
{
    parts_->layerProperties.SetOffset(handle, x, y, redraw);
}

void LayerStack::SetCurrentLayerOffset(int x, int y, bool redraw)
{
    SetLayerOffset(kCurrentLayerHandle, x, y, redraw);
}

void LayerStack::SetContainerProperties(const PntHandle& handle, const ContainerProperties& properties) noexcept
{
    parts_->layerProperties.SetAll(handle, properties);
}

bool LayerStack::AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink)
{
    return parts_->layerProperties.AddOwner(owner, layer, hardLink);
}

bool LayerStack::RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer)
{
    return parts_->layerProperties.RemoveOwner(owner, layer);
}

qsString::CString LayerStack::GetAppData(const PntHandle& handle, const qsString::CString& key) const
{
    return parts_->layerProperties.GetAppData(handle, key);
}

void LayerStack::SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value)
{
    parts_->layerProperties.SetAppData(handle, key, value);
}

bool LayerStack::FillLayer(const PntHandle& handle, const ilTile& tile, const ilPixel& pixel)
{
    return parts_->fills.FillTile(handle, tile, pixel);
}

float LayerStack::GetMaskDefaultDisplayOpacity() const
{
    return parts_->properties.maskDisplayOpacity;
}

void LayerStack::SetMaskDefaultDisplayOpacity(float opacity)
{
    parts_->settings.SetMaskOpacity(opacity);
}

PaintColor LayerStack::GetMaskDefaultDisplayColor() const
{
    return parts_->properties.maskDisplayColor;
}

void LayerStack::SetMaskDefaultDisplayColor(const PaintColor& color)
{
    parts_->settings.SetMaskColor(color);
}

PaintColor LayerStack::GetMaskLayerDisplayColor(const PntHandle& handle) const
{
    return parts_->layerProperties.GetDisplayColor(handle);
}

void LayerStack::SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& handle)
{
    parts_->layerProperties.SetDisplayColor(color, handle);
}

float LayerStack::GetMaskLayerDisplayOpacity(const PntHandle& handle) const
{
    return parts_->layerProperties.GetDisplayOpacity(handle);
}

void LayerStack::SetMaskLayerDisplayOpacity(float opacity, const PntHandle& handle)
{
    parts_->layerProperties.SetDisplayOpacity(opacity, handle);
}

bool LayerStack::FloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& handle)
{
    return parts_->fills.FloodLayer(x, y, tolerance, color, handle);
}

bool LayerStack::SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                                     const qs::TempReference<ilSmartImage>&, ilTile& fillTile, const PntHandle& handle)
{
    return parts_->fills.FloodSmoothly(x, y, tolerance, color, fillTile, handle);
}

void LayerStack::SetFloodFillGrowth(int pixels)
{
    parts_->properties.floodFillGrowthPx = std::clamp(pixels, 0, kMaxGrowPx);
}

int LayerStack::GetFloodFillGrowth() const
{
    return parts_->properties.floodFillGrowthPx;
}

bool LayerStack::BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers)
{
    return parts_->proxy.Begin(parameters, layers);
}

bool LayerStack::BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    return parts_->proxy.Begin(scope, images);
}

bool LayerStack::InProxy() const
{
    return parts_->proxy.IsRunning();
}

void LayerStack::ForceOutProxy()
{
    parts_->proxy.ForceOut();
}

void LayerStack::EndProxy()
{
    parts_->proxy.End();
}

void LayerStack::RevertProxy()
{
    parts_->proxy.Revert();
}

const qs::vector<PntHandle>& LayerStack::GetProxyLayers() const
{
    return parts_->proxy.GetLayers();
}

bool LayerStack::InProxyRotateCanvas() const
{
    return parts_->proxy.IsRotatingCanvas();
}

void LayerStack::BeginProxyRotateCanvas()
{
    parts_->proxy.SetRotatingCanvas(true);
}

void LayerStack::EndProxyRotateCanvas()
{
    parts_->proxy.SetRotatingCanvas(false);
}

bool LayerStack::XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                       const PntHandle& handle)
{
    return parts_->transforms.XForm(transform, minify, magnify, handle);
}

bool LayerStack::ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                            const PntHandle& handle)
{
    return parts_->transforms.ProxyXForm(transform, minify, magnify, handle);
}

bool LayerStack::Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                        const PntHandle& handle)
{
    return parts_->transforms.Deform(corners, filter, kind, dx, dy, handle);
}

bool LayerStack::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                             const PntHandle& handle)
{
    return parts_->transforms.ProxyDeform(corners, filter, kind, dx, dy, handle);
}

ilTile LayerStack::GetTransformBounds(const PntHandle& handle) const
{
    return parts_->transforms.GetBounds(handle);
}

bool LayerStack::ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    return parts_->colors.Adjust(parm, amount, handle);
}

bool LayerStack::ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle)
{
    return parts_->colors.PreviewAdjust(parm, amount, handle);
}

ImageAnalysisData LayerStack::AnalyzeLayer(const PntHandle& handle) const
{
    return parts_->colors.Analyze(handle);
}

bool LayerStack::SharpenOrBlurDone(float amount, float radius, const PntHandle& handle)
{
    return parts_->colors.SharpenOrBlur(amount, radius, handle);
}

bool LayerStack::ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify)
{
    return parts_->document.Scale(width, height, minify, magnify);
}

bool LayerStack::ScaleAllLayers(double xFactor, double yFactor, FilterMethod minify, FilterMethod magnify)
{
    return parts_->document.Scale(xFactor, yFactor, minify, magnify);
}

bool LayerStack::ResizeDocument(int width, int height, Anchor anchor)
{
    return parts_->document.Resize(width, height, anchor);
}

bool LayerStack::ResizeDocument(const ilTile& canvas)
{
    return parts_->document.Resize(canvas);
}

bool LayerStack::RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify)
{
    return parts_->document.Rotate(angleDeg, minify, magnify);
}

bool LayerStack::FlipDocument(bool horizontal, bool vertical)
{
    return parts_->document.Flip(horizontal, vertical);
}

void LayerStack::MergeLayers(const PntHandle& upper, const PntHandle& lower, bool makeCurrent)
{
    parts_->merge.Layers(upper, lower, makeCurrent);
}

void LayerStack::MergeLayerFolder(LayerFolder* folder)
{
    parts_->merge.Folder(folder);
}

void LayerStack::MergeAllLayers(bool visibleOnly)
{
    parts_->merge.All(visibleOnly);
}

PntHandle LayerStack::GetMergeReceiver(const PntHandle& upper, const PntHandle& lower)
{
    return parts_->mergeChoice.GetReceiver(upper, lower);
}

PntHandle LayerStack::GetFolderMergeReceiver(const LayerFolder* folder) const
{
    return parts_->mergeChoice.GetFolderReceiver(folder);
}

PntHandle LayerStack::GetMergeAllReceiver(bool visibleOnly) const
{
    return parts_->mergeChoice.GetReceiverOfAll(visibleOnly);
}

PntHandle LayerStack::DuplicateCurrentLayer(bool above, bool redraw, int target, bool connect)
{
    return parts_->duplicate.DuplicateCurrent(above, redraw, target, connect);
}

PntHandle LayerStack::CopyLayerToMask(const PntHandle& handle, bool connect)
{
    return parts_->duplicate.CopyAs(handle, kDuplicateAsMask, connect);
}

PntHandle LayerStack::CopyLayerToStencil(const PntHandle& handle, bool connect)
{
    return parts_->duplicate.CopyAs(handle, kDuplicateAsStencil, connect);
}

PntHandle LayerStack::CopyLayerToImage(const PntHandle& handle)
{
    return parts_->duplicate.CopyToImage(handle);
}

qs::TempReference<ilSmartImage> LayerStack::MakeMaskComposite(const PntHandle& layer) const
{
    return parts_->duplicate.MakeMaskComposite(layer);
}

void LayerStack::BakeStencilMaskToLayer(const PntHandle& handle, bool deleteUnowned, bool newImage)
{
    parts_->bake.BakeLayer(handle, deleteUnowned, newImage);
}

void LayerStack::BakeAllStencilMaskToLayer()
{
    parts_->bake.BakeAll();
}

bool LayerStack::CropLayer(const PntHandle& handle, const ilTile& canvasTile)
{
    return parts_->pixels.Crop(handle, canvasTile);
}

bool LayerStack::CropLayerToBrushClippingRect(const PntHandle& handle)
{
    return parts_->pixels.Crop(handle, GetSize());
}

bool LayerStack::CropDocument(const ilTile& canvasTile)
{
    return parts_->document.Crop(canvasTile);
}

bool LayerStack::ClearCurrentLayer()
{
    return parts_->pixels.ClearCurrent();
}

bool LayerStack::ClearLayerImageByRect(const PntHandle& handle, const ilTile& canvasTile)
{
    return parts_->pixels.ClearRect(handle, canvasTile);
}

bool LayerStack::ClearLayerImageBySelMask(const PntHandle& handle)
{
    return parts_->pixels.ClearSelected(handle);
}

bool LayerStack::InvertImageLayer(const PntHandle& handle)
{
    return parts_->pixels.Invert(handle, kLayerModeImage);
}

bool LayerStack::InvertMaskLayer(const PntHandle& handle)
{
    return parts_->pixels.Invert(handle, kLayerModeMask);
}

bool LayerStack::InvertStencilLayer(const PntHandle& handle)
{
    return parts_->pixels.Invert(handle, kLayerModeStencil);
}

bool LayerStack::FlipImageLayer(const PntHandle& handle, bool horizontal, bool vertical)
{
    return parts_->flip.Flip(handle, horizontal, vertical);
}

qs::vector<PntHandle> LayerStack::GetLayersFlippedWith(const PntHandle& handle) const
{
    return parts_->flip.GetFlippedWith(handle);
}

bool LayerStack::ReplaceLayerImage(const PntHandle& handle, qs::TempReference<ilImage> image)
{
    return parts_->pixels.ReplaceImage(handle, std::move(image));
}
