#pragma once

#include "composite/CompositeBase.h"

class LayerFolder;

/// The node of one folder: an isolated group, shown at full weight. An inactive folder hides everything in it.
class CompositeLayerFolder : public CompositeBase {
public:
    CompositeLayerFolder(LayerStack* stack, const PntHandle& handle) : CompositeBase(stack), handle_(handle) {}

    void DebugPrint() const override;
    const PntHandle& GetHandle() const override { return handle_; }
    void AppendStored(qs::vector<StoredSource>& sources) const override;
    bool IsShown() const override;
    CompositeBase* Copy(LayerStack* stack) const override;

private:
    PntHandle handle_;
};
