#pragma once

#include "composite/CompositeBase.h"

class Layer;

/// The node of one layer: yields the layer's image with its offset, opacity, blend mode and stencils, and copies no
/// pixel. The current layer, while its painter keeps a stroke apart, yields the saved original under that stroke.
class CompositeLayer : public CompositeBase {
public:
    CompositeLayer(LayerStack* stack, const Layer& layer);

    /// As of a node with one child; never null.
    qs::TempReference<ilSmartImage> Compose(bool useCached, bool keep) override;
    void DebugPrint() const override;
    const PntHandle& GetHandle() const override { return handle_; }
    void AppendSources(const ilTile& tile, qs::vector<CompositeSource>& sources) override;
    void AppendStored(qs::vector<StoredSource>& sources) const override;
    void RefreshMode() override;
    CompositeBase* Copy(LayerStack* stack) const override;

protected:
    void CollectSources(const ilTile& tile) override;

private:
    CompositeLayer(LayerStack* stack, const PntHandle& handle) : CompositeBase(stack), handle_(handle) {}
    void TakeMode(const Layer* layer);
    Layer* FindVisibleLayer() const;

    PntHandle handle_;
};
