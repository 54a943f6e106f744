#include "composite/CompositeLayer.h"

#include "composite/CompositePort.h"
#include "layers/Layer.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "platform/os/DebugOutput.h"

#include <memory>

namespace {

/// Layers at or below this opacity are left out, not drawn faintly.
constexpr float kLeastOpacity = 0.002F;

/// Whether anything of the image can show: an unstored area does when the image is filled.
bool Shows(const ilMIOImage& image)
{
    return image.GetNumChannels() == 4 && (!image.IsEmpty() || image.GetFillValue().GetPacked() != 0);
}

CompositeSource SourceOfLayer(Layer& layer, const ilMIOImage& image)
{
    CompositeSource source;
    source.image = &image;
    layer.GetOffset(source.x, source.y);
    source.mode = layer.GetLayerBlend();
    source.weight = kernels::WeightFrom(double{layer.GetOpacity()});
    source.stencil = layer.GetUpToDateStencil();
    source.stencilX = source.x;
    source.stencilY = source.y;
    return source;
}

}  // namespace

CompositeLayer::CompositeLayer(LayerStack* stack, const Layer& layer)
    : CompositeBase(stack), handle_(layer.GetLayerContainerHandle())
{
    TakeMode(&layer);
}

void CompositeLayer::RefreshMode()
{
    TakeMode(GetCompositePort().GetLayer(stack_, handle_));
}

void CompositeLayer::TakeMode(const Layer* layer)
{
    const bool hasEffect = layer != nullptr && layer->GetLayerBlend() != kBlendNormal;
    state_.mode = layer == nullptr ? CompositeMode::Dropped : hasEffect ? CompositeMode::Effect : CompositeMode::Plain;
    state_.effect = hasEffect ? handle_ : kNullHandle;
}

Layer* CompositeLayer::FindVisibleLayer() const
{
    Layer* layer = GetCompositePort().GetLayer(stack_, handle_);
    const bool shows = layer != nullptr && layer->isVisible() && layer->GetOpacity() > kLeastOpacity;
    return shows ? layer : nullptr;
}

qs::TempReference<ilSmartImage> CompositeLayer::Compose(bool useCached, bool keep)
{
    if (useCached && cache_.bytes)
        return cache_.bytes;
    const qs::TempReference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    ComposeInto(*image, GetCanvas());
    state_.timeStamp = qsOS::CurrentFileTime();
    if (keep)
        cache_.bytes = image;
    return image;
}

void CompositeLayer::CollectSources(const ilTile& tile)
{
    sources_.clear();
    AppendSources(tile, sources_);
}

void CompositeLayer::AppendSources(const ilTile& tile, qs::vector<CompositeSource>& sources)
{
    Layer* layer = FindVisibleLayer();
    if (layer == nullptr)
        return;
    const CompositePort& port = GetCompositePort();
    const MaskingPaintOps* painter =
        state_.isLive && layer == port.GetCurrentLayer(stack_) ? port.GetMaskingPainter(stack_) : nullptr;
    if (painter != nullptr) {
        if (live_.bytes)
            live_.bytes->Clear();  // the pages of other tiles are of no use
        else
            live_.bytes.reset(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
        const CompositeSource source = SourceOfLayer(*layer, *live_.bytes);
        painter->ComposeOperation(*live_.bytes, ilTileMoved(tile, -int64_t{source.x}, -int64_t{source.y}));
        sources.push_back(source);
        return;
    }
    const qs::TempReference<ilMIOImage> image = layer->GetImage();
    if (image && Shows(*image))
        sources.push_back(SourceOfLayer(*layer, *image));
}

void CompositeLayer::AppendStored(qs::vector<StoredSource>& sources) const
{
    Layer* layer = FindVisibleLayer();
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    if (image && Shows(*image))
        sources.push_back({SourceOfLayer(*layer, *image), false});
}

CompositeBase* CompositeLayer::Copy(LayerStack* stack) const
{
    std::unique_ptr<CompositeLayer> copy(new CompositeLayer(stack, handle_));
    CopyStateTo(*copy);
    return copy.release();
}

void CompositeLayer::DebugPrint() const
{
    const LayerContainer* layer = GetCompositePort().GetContainer(stack_, handle_);
    qsOS::OutputDebugFormat("CLayer[%p,%s] ", static_cast<const void*>(this),
                            layer != nullptr ? layer->GetLayerContainerName() : "None");
    CompositeBase::DebugPrint();
}
