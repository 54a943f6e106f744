#pragma once

#include "layers/DocumentPort.h"
#include "layers/Layer.h"
#include "layers/LayerFolder.h"

#include <cstring>
#include <string>

/// A document in miniature behind the port, for as long as it lives: layers register and are found by handle, and
/// what the host is told is written down. One at a time.
class FakeDocument {
public:
    FakeDocument() : saved_(GetDocumentPort())
    {
        current = this;
        DocumentPort& port = GetDocumentPort();
        port.FindLayer = [](const PntHandle& handle) -> Layer* { return current->Find(handle); };
        port.GetMaskLayers = [](const PntHandle& owner) { return current->Connected(owner, kLayerModeMask); };
        port.GetStencilLayers = [](const PntHandle& owner) { return current->Connected(owner, kLayerModeStencil); };
        port.IsHandleValid = [](const PntHandle& handle) { return current->Find(handle) != nullptr; };
        port.LayerImageChanged = [](const PntHandle& handle) { current->imageChanges.push_back(handle); };
        port.ContainerRemoved = [](const PntHandle& handle) { current->removals.push_back(handle); };
        port.GetDebugLevel = [] { return current->debugLevel; };
    }
    ~FakeDocument() { GetDocumentPort() = saved_; }
    FakeDocument(const FakeDocument&) = delete;
    FakeDocument& operator=(const FakeDocument&) = delete;

    Layer* Add(LayerMode mode, int x = 0, int y = 0)
    {
        const ilPixel fill(kUnsignedByte, mode == kLayerModeImage ? 4 : 1);
        layers.push_back(new Layer(new ilSmartImage(fill), nullptr, mode, kLayerTypeRaster, x, y));
        return layers.back().get();
    }
    Layer* AddStencil(Layer* owner, int x = 0, int y = 0, bool hardLink = false)
    {
        Layer* stencil = Add(kLayerModeStencil, x, y);
        stencil->AddOwnerLayer(owner, hardLink);
        return stencil;
    }

    qs::vector<qs::Reference<Layer>> layers;
    qs::vector<PntHandle> imageChanges;
    qs::vector<PntHandle> removals;
    int debugLevel = 0;

private:
    Layer* Find(const PntHandle& handle) const
    {
        for (const qs::Reference<Layer>& layer : layers)
            if (layer->GetLayerContainerHandle() == handle)
                return layer.get();
        return nullptr;
    }
    qs::vector<PntHandle> Connected(const PntHandle& owner, LayerMode mode) const
    {
        qs::vector<PntHandle> found;
        for (const qs::Reference<Layer>& layer : layers)
            if (layer->GetLayerMode() == mode && layer->HasOwner(owner))
                found.push_back(layer->GetLayerContainerHandle());
        return found;
    }

    static inline FakeDocument* current = nullptr;
    DocumentPort saved_;
};

inline qs::Reference<Layer> MakeLayer(LayerMode mode = kLayerModeImage, int x = 0, int y = 0)
{
    const ilPixel fill(kUnsignedByte, mode == kLayerModeImage ? 4 : 1);
    return qs::Reference<Layer>(new Layer(new ilSmartImage(fill), nullptr, mode, kLayerTypeRaster, x, y));
}

/// The pixels of a canvas rectangle as the layer has them, row by row, packed.
inline qs::vector<uint32_t> CanvasPixels(const Layer& layer, const ilTile& canvas)
{
    const size_t channels = static_cast<size_t>(layer.GetImage()->GetNumChannels());
    const size_t count = static_cast<size_t>(canvas.Area());
    qs::vector<uint8_t> bytes(count * channels);
    layer.GetImage()->ReadTile(ilTileMoved(canvas, -layer.getXOffset(), -layer.getYOffset()), bytes.data(),
                               canvas.nx * static_cast<ptrdiff_t>(channels));
    qs::vector<uint32_t> pixels(count);
    for (size_t i = 0; i < count; ++i)
        std::memcpy(&pixels[i], &bytes[i * channels], channels);
    return pixels;
}

/// Names bottom to top, folders as "G[...]".
inline std::string Dump(const LayerFolder& folder)
{
    std::string text;
    for (const LayerContainer* child : folder.GetLCArray()) {
        text += (text.empty() ? "" : " ") + std::string(child->GetLayerContainerName());
        if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            text += "[" + Dump(*inner) + "]";
    }
    return text;
}
