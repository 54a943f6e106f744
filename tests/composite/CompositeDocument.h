#pragma once

#include "composite/CompositeBase.h"
#include "composite/CompositePort.h"
#include "composite/LayerStackComposite.h"
#include "layers/DocumentPort.h"
#include "layers/Layer.h"
#include "layers/LayerFolder.h"
#include "platform/imaging/painter/MaskingPaintOps.h"

#include <string>

/// A document behind the ports of composite and layers: three folders, a current layer, and the damage that was told.
/// One at a time; it stands for the stack that the composite passes around.
class CompositeDocument {
public:
    explicit CompositeDocument(const ilTile& canvas)
        : size(canvas), savedPort_(GetCompositePort()), savedLayersPort_(GetDocumentPort())
    {
        active = this;
        FillCompositePort();
        DocumentPort& port = GetDocumentPort();
        port.FindLayer = [](const PntHandle& handle) { return dynamic_cast<Layer*>(active->Find(handle)); };
        port.GetStencilLayers = [](const PntHandle& owner) {
            qs::vector<PntHandle> found;
            active->stencils.GetStencilLayers(found, owner);
            return found;
        };
    }
    ~CompositeDocument()
    {
        GetCompositePort() = savedPort_;
        GetDocumentPort() = savedLayersPort_;
    }
    CompositeDocument(const CompositeDocument&) = delete;
    CompositeDocument& operator=(const CompositeDocument&) = delete;

    LayerStack* Stack() { return reinterpret_cast<LayerStack*>(this); }
    static CompositeDocument& Of(LayerStack* stack) { return *reinterpret_cast<CompositeDocument*>(stack); }

    /// Adds at the top of `folder`, or of the mode's folder.
    Layer* Add(const char* name, LayerMode mode = kLayerModeImage, LayerFolder* folder = nullptr)
    {
        const ilPixel fill(kUnsignedByte, mode == kLayerModeImage ? 4 : 1);
        auto* layer = new Layer(new ilSmartImage(fill), nullptr, mode, kLayerTypeRaster, 0, 0);
        layer->SetLayerContainerName(name);
        LayerFolder& home = mode == kLayerModeImage ? images : mode == kLayerModeMask ? masks : stencils;
        (folder != nullptr ? *folder : home).AddLayerContainer(layer, nullptr, true);
        return layer;
    }
    LayerFolder* AddFolder(const char* name, LayerFolder* parent = nullptr)
    {
        auto* folder = new LayerFolder;
        folder->SetLayerContainerName(name);
        (parent != nullptr ? *parent : images).AddLayerContainer(folder, nullptr, true);
        return folder;
    }
    Layer* AddFilled(const char* name, const ilTile& tile, const ilPixel& pixel)
    {
        Layer* layer = Add(name);
        layer->GetImage()->fillTile(tile, pixel);
        return layer;
    }

    LayerContainer* Find(const PntHandle& handle)
    {
        for (LayerFolder* folder : {&images, &masks, &stencils})
            if (LayerContainer* found = folder->GetLayerContainerFromHandle(handle))
                return found;
        return nullptr;
    }

    LayerFolder images;
    LayerFolder masks;
    LayerFolder stencils;
    Layer* current = nullptr;
    Layer* selection = nullptr;  // as far as it is used
    MaskingPaintOps* painter = nullptr;
    ilTile size;
    bool suspended = false;
    bool currentOnly = false;
    bool masksShown = true;
    int notices = 0;
    bool hearsDamage = true;
    qs::vector<ilTile> damage;

private:
    static void FillCompositePort()
    {
        GetCompositePort() = {
            .GetImageFolder = [](LayerStack* stack) { return &Of(stack).images; },
            .GetCurrentLayer = [](LayerStack* stack) { return Of(stack).current; },
            .GetContainer = [](LayerStack* stack, const PntHandle& handle) { return Of(stack).Find(handle); },
            .GetLayer = [](LayerStack* stack,
                           const PntHandle& handle) { return dynamic_cast<Layer*>(Of(stack).Find(handle)); },
            .GetOwnerArray =
                [](LayerStack* stack, const PntHandle& handle) {
                    const LayerContainer* container = Of(stack).Find(handle);
                    return container != nullptr ? container->GetOwnerLayerArray() : qs::vector<PntHandle>();
                },
            .GetMaskLayers =
                [](LayerStack* stack, const PntHandle& owner) {
                    qs::vector<PntHandle> found;
                    Of(stack).masks.GetMaskLayers(found, owner);
                    return found;
                },
            .GetSize = [](LayerStack* stack) { return Of(stack).size; },
            .CompositesSuspended = [](LayerStack* stack) { return Of(stack).suspended; },
            .IsShowCurrentLayerOnly = [](LayerStack* stack) { return Of(stack).currentOnly; },
            .AreMasksShown = [](LayerStack* stack) { return Of(stack).masksShown; },
            .GetUsedSelectionMask = [](LayerStack* stack) { return Of(stack).selection; },
            .GetMaskingPainter = [](LayerStack* stack) { return Of(stack).painter; },
            .Notify = [](LayerStack* stack, bool) { ++Of(stack).notices; },
            .DamageTile =
                [](LayerStack* stack, const ilTile& tile) {
                    if (Of(stack).hearsDamage)
                        Of(stack).damage.push_back(tile);
                },
        };
    }

    static inline CompositeDocument* active = nullptr;
    CompositePort savedPort_;
    DocumentPort savedLayersPort_;
};

inline const PntHandle& HandleOf(const LayerContainer* container)
{
    return container->GetLayerContainerHandle();
}

/// The whole canvas from a tree made for this one picture.
inline qs::TempReference<ilSmartImage> ComposeFresh(CompositeDocument& document)
{
    document.hearsDamage = false;
    LayerStackComposite fresh;
    fresh.MakeCompositeTree(document.Stack(), true);
    fresh.MakeComposite(document.Stack(), nullptr);
    document.hearsDamage = true;
    return fresh.GetCurrentComposite();
}
