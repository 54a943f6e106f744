#include "undo/PntUndoLayer.h"

#include "platform/imaging/pages/PageAccount.h"
#include "undo/UndoPort.h"

PntUndoLayer::PntUndoLayer(PaintManager* manager, int stackHandle, const PntHandle& handle, LayerStack* stack,
                           Layer* layer, const char* id)
    : PntUndoLayer(manager, stackHandle, qs::vector<PntHandle>{handle}, stack, qs::vector<Layer*>{layer}, id)
{}

PntUndoLayer::PntUndoLayer(PaintManager* manager, int stackHandle, const qs::vector<PntHandle>& handles,
                           LayerStack* stack, const qs::vector<Layer*>& layers, const char* id)
    : PntUndoLS(manager, stackHandle, stack, id), handles_(handles), layers_(layers.begin(), layers.end())
{
    SetID("MioLayer");
    for (PntHandle& handle : handles_)
        if (handle == kNullHandle)
            handle = GetUndoPort().GetCurrentContainer(manager, GetLayerStackHandle());
}

int PntUndoLayer::GetBytesUsed()
{
    return SumOfBytes(GetAllocatedBytes(), sizeof(PntUndoLayer));
}

int PntUndoLayer::GetAllocatedBytes()
{
    constexpr int64_t kLayerBytes = 8;
    return SumOfBytes(PntUndoLS::GetAllocatedBytes(), kLayerBytes * size());
}

void PntUndoLayer::Archive(PntUndoDatabase* database)
{
    layers_.clear();
    PntUndoLS::Archive(database);
}

void PntUndoLayer::CountReleased(PageAccount& account) const
{
    for (const qs::Reference<Layer>& layer : layers_)
        if (account.Drop(layer.get()))
            layer->CountReleased(account);
    PntUndoLS::CountReleased(account);
}

qs::Reference<PntUndoOper> PntUndoLayer::CompareOper(qs::Reference<PntUndoOper> other)
{
    const auto* same = dynamic_cast<const PntUndoLayer*>(other.get());
    const bool concernsSame = same != nullptr && same->GetLayerStackHandle() == GetLayerStackHandle() && size() > 0 &&
                              same->size() > 0 && same->GetLayerContainerHandle(0) == GetLayerContainerHandle(0);
    return concernsSame ? this : nullptr;
}

Layer* PntUndoLayer::GetLayer(int index) const
{
    return index >= 0 && index < size() ? layers_[static_cast<size_t>(index)].get() : nullptr;
}

PntHandle PntUndoLayer::GetLayerContainerHandle(int index) const
{
    return index >= 0 && static_cast<size_t>(index) < handles_.size() ? handles_[static_cast<size_t>(index)]
                                                                      : kNullHandle;
}

bool PntUndoLayer::LayerStackIsValid() const
{
    const UndoPort& port = GetUndoPort();
    const qs::Reference<LayerStack>& stack = GetLayerStack();
    return stack && port.GetLayerStack(GetPaintCore(), GetLayerStackHandle()) == stack &&
           port.GetLayerStackHandle(GetPaintCore(), stack) == GetLayerStackHandle();
}
