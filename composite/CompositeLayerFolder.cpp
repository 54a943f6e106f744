#include "composite/CompositeLayerFolder.h"

#include "composite/CompositePort.h"
#include "layers/LayerFolder.h"
#include "platform/os/DebugOutput.h"

#include <memory>

bool CompositeLayerFolder::IsShown() const
{
    const auto* folder = dynamic_cast<const LayerFolder*>(GetCompositePort().GetContainer(stack_, handle_));
    return folder != nullptr && folder->isActive();
}

void CompositeLayerFolder::AppendStored(qs::vector<StoredSource>& sources) const
{
    const size_t before = sources.size();
    CompositeBase::AppendStored(sources);
    for (size_t i = before; i < sources.size(); ++i)
        sources[i].isFolded = true;
}

CompositeBase* CompositeLayerFolder::Copy(LayerStack* stack) const
{
    auto copy = std::make_unique<CompositeLayerFolder>(stack, handle_);
    CopyStateTo(*copy);
    return copy.release();
}

void CompositeLayerFolder::DebugPrint() const
{
    const LayerContainer* folder = GetCompositePort().GetContainer(stack_, handle_);
    qsOS::OutputDebugFormat("CLFolder[%p,%s] ", static_cast<const void*>(this),
                            folder != nullptr ? folder->GetLayerContainerName() : "None");
    CompositeBase::DebugPrint();
}
