#include "undo/PntUndoStroke.h"

#include "layers/DocumentPort.h"
#include "platform/base/Attempt.h"
#include "stack/StackPort.h"
#include "undo/UndoPort.h"

#include <utility>

/// One layer's part of an undo: where it goes, what it has now, and what that changes on the canvas.
struct PntUndoStroke::Exchange {
    size_t index;
    qs::Reference<Layer> layer;
    Saved present;
    qs::vector<ilTile> tiles;
    bool isMoved;  // or changed in other ways than by stored pixels
};

PntUndoStroke::PntUndoStroke(PaintManager* manager, int stackHandle, const PntHandle& handle, LayerStack* stack,
                             Layer* layer, const qs::TempReference<ilImage>& image, const char* id)
    : PntUndoStroke(manager, stackHandle, qs::vector<PntHandle>{handle}, stack, qs::vector<Layer*>{layer}, id)
{
    LayerContent& content = saved_.front().content;
    const ilMIOImage* paged = image ? image->AsPaged() : nullptr;
    if (paged != nullptr && content.image && paged->GetNumChannels() == content.image->GetNumChannels())
        content.pixels = paged->Snapshot();
}

PntUndoStroke::PntUndoStroke(PaintManager* manager, int stackHandle, const qs::vector<PntHandle>& handles,
                             LayerStack* stack, const qs::vector<Layer*>& layers, const char* id)
    : PntUndoLayer(manager, stackHandle, handles, stack, layers, id)
{
    SetID("MioStroke");
    saved_.reserve(layers.size());
    for (Layer* layer : layers)
        saved_.push_back(layer != nullptr ? Capture(*layer) : Saved());
}

PntUndoStroke::Saved PntUndoStroke::Capture(Layer& layer) const
{
    const bool isSelectionMask = GetLayerStack() && GetLayerStack()->GetSelectionMask() == &layer;
    return {layer.CaptureContent(), isSelectionMask, isSelectionMask ? &layer : nullptr, layer.isVisible(),
            layer.GetLayerContainerHandle()};
}

/// The layer that a captured one is now: the selection mask may have been made anew.
qs::Reference<Layer> PntUndoStroke::FindLayer(size_t index) const
{
    Layer* captured = GetLayer(static_cast<int>(index));
    const LayerStack* stack = GetLayerStack().get();
    if (captured == nullptr || stack == nullptr)
        return captured;
    Layer* found = saved_[index].isSelectionMask
                       ? stack->GetSelectionMask()
                       : stack->GetLayerFromHandle(GetLayerContainerHandle(static_cast<int>(index)));
    return found != nullptr ? found : captured;
}

// --- undo and redo ---

void PntUndoStroke::UndoOper()
{
    if (!isUndone_ && Guarded(false, [this] { return Swap(); }))
        isUndone_ = true;
}

void PntUndoStroke::RedoOper()
{
    if (isUndone_ && Guarded(false, [this] { return Swap(); }))
        isUndone_ = false;
}

bool PntUndoStroke::Swap()
{
    const UndoPort& port = GetUndoPort();
    const qs::Reference<PntUndoOper> kept(this);
    if (!LayerStackIsValid() || !port.FinishStroke() || !LayerStackIsValid())
        return false;
    const qs::Reference<LayerStack> stack = GetLayerStack();
    stack->EndProxy();

    // All that can run out of memory comes first.
    qs::vector<Exchange> exchanges;
    exchanges.reserve(saved_.size());
    for (size_t i = 0; i < saved_.size(); ++i) {
        const qs::Reference<Layer> layer = FindLayer(i);
        if (!layer)
            continue;
        layer->EndProxy();
        Saved present = Capture(*layer);
        const Saved& saved = saved_[i];
        const bool isShownOtherwise = saved.isSelectionMask && present.isVisible != saved.isVisible;
        const bool isMoved = isShownOtherwise || !present.content.IsComparable(saved.content);
        qs::vector<ilTile> tiles = isShownOtherwise
                                       ? qs::vector<ilTile>{stack->GetSize()}
                                       : present.content.TilesOfDifference(saved.content, stack->GetSize());
        exchanges.push_back({i, layer, std::move(present), std::move(tiles), isMoved});
    }
    for (Exchange& exchange : exchanges) {
        const Saved& saved = saved_[exchange.index];
        if (saved.mask && exchange.present.isSelectionMask) {
            stack->SetSelectionMask(saved.mask.get());
            exchange.layer = saved.mask;
        }
        exchange.layer->RestoreContent(saved.content);
        if (saved.isSelectionMask) {
            exchange.layer->SetVisible(saved.isVisible);
            exchange.layer->SetLayerContainerHandle(saved.handle);
        }
        saved_[exchange.index] = exchange.present;
    }
    Attempt([&] { Show(*stack, exchanges); });
    return true;
}

/// Brings the picture up to date; without the memory for that the damage stays.
void PntUndoStroke::Show(LayerStack& stack, const qs::vector<Exchange>& exchanged) const
{
    for (const Exchange& exchange : exchanged)
        if (exchange.isMoved || !exchange.tiles.empty())
            stack.LayerContentChanged(*exchange.layer, exchange.tiles, exchange.isMoved);
    Attempt([&] { stack.ForceUpdate(); });
    GetStackPort().CanvasUpdated();
    for (const Exchange& exchange : exchanged) {
        const PntHandle handle = exchange.layer->GetLayerContainerHandle();
        if (exchange.isMoved || !exchange.tiles.empty())
            GetDocumentPort().LayerImageChanged(handle);
        if (exchange.present.isSelectionMask && exchange.present.isVisible != exchange.layer->isVisible())
            GetStackPort().ContainerState(handle);
    }
    GetUndoPort().ContentChanged(GetPaintCore());
}

// --- what it holds ---

bool PntUndoStroke::HasChanges() const
{
    for (size_t i = 0; i < saved_.size(); ++i) {
        const qs::Reference<Layer> layer = FindLayer(i);
        if (!layer)
            continue;
        const Saved present = Capture(*layer);
        const Saved& saved = saved_[i];
        const bool isSameMask =
            !saved.isSelectionMask || (present.isVisible == saved.isVisible && present.handle == saved.handle);
        if (!isSameMask || !present.content.IsSameAs(saved.content))
            return true;
    }
    return false;
}

int PntUndoStroke::GetBytesUsed()
{
    return SumOfBytes(GetAllocatedBytes(), sizeof(PntUndoStroke));
}

int PntUndoStroke::GetAllocatedBytes()
{
    constexpr int64_t kPageBytes = int64_t{4} * kPagePixels;
    int64_t pages = 0;
    for (size_t i = 0; i < saved_.size(); ++i) {
        const qs::Reference<ilMIOImage>& pixels = saved_[i].content.pixels;
        if (!pixels)
            continue;
        const qs::Reference<Layer> layer = FindLayer(i);
        qs::Reference<ilMIOImage> present = layer ? layer->GetImage() : nullptr;
        if (!present)
            present = new ilMIOImage(pixels->GetFillValue());
        pixels->VisitDifferentPages(*present,
                                    [&](int, int, const Page* page, const Page*) { pages += page != nullptr ? 1 : 0; });
    }
    return SumOfBytes(PntUndoLayer::GetAllocatedBytes(), pages * kPageBytes);
}

void PntUndoStroke::Archive(PntUndoDatabase* database)
{
    saved_.clear();
    PntUndoLayer::Archive(database);
}
