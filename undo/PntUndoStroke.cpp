#include "undo/PntUndoStroke.h"

#include "layers/DocumentPort.h"
#include "platform/base/Attempt.h"
#include "platform/imaging/pages/PageAccount.h"
#include "stack/StackPort.h"
#include "undo/UndoPort.h"

#include <utility>

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
    Undo();
}

void PntUndoStroke::RedoOper()
{
    Redo();
}

PntUndoOper::Outcome PntUndoStroke::TryUndo()
{
    return IsUndone() ? Outcome::Refused : Swap();
}

PntUndoOper::Outcome PntUndoStroke::TryRedo()
{
    return IsUndone() ? Swap() : Outcome::Refused;
}

PntUndoStroke::Exchange PntUndoStroke::MakeExchange(LayerStack& stack, size_t index,
                                                    const qs::Reference<Layer>& layer) const
{
    Saved present = Capture(*layer);
    const Saved& saved = saved_[index];
    const bool isShownOtherwise = saved.isSelectionMask && present.isVisible != saved.isVisible;
    const bool isMoved = isShownOtherwise || !present.content.IsComparable(saved.content);
    qs::vector<ilTile> tiles = isShownOtherwise ? qs::vector<ilTile>{stack.GetSize()}
                                                : present.content.TilesOfDifference(saved.content, stack.GetSize());
    const bool isMask = present.isSelectionMask;
    const bool wasVisible = present.isVisible;
    return {index, layer, std::move(present), std::move(tiles), isMoved, isMask, wasVisible};
}

/// All that can run out of memory. The document need not have its place yet: an earlier part of the step may put it
/// there.
bool PntUndoStroke::Prepare()
{
    const qs::Reference<LayerStack> stack = GetLayerStack();
    if (!stack)
        return true;
    stack->EndProxy();
    qs::vector<Exchange> exchanges;
    exchanges.reserve(saved_.size());
    for (size_t i = 0; i < saved_.size(); ++i)
        if (const qs::Reference<Layer> layer = FindLayer(i)) {
            layer->EndProxy();
            exchanges.push_back(MakeExchange(*stack, i, layer));
        }
    exchanges_ = std::move(exchanges);
    isPrepared_ = true;
    return true;
}

PntUndoOper::Outcome PntUndoStroke::Swap()
{
    const UndoPort& port = GetUndoPort();
    if (!isPrepared_ || !LayerStackIsValid() || !port.FinishStroke() || !LayerStackIsValid())
        return Outcome::Refused;
    const qs::Reference<LayerStack> stack = GetLayerStack();
    Commit();
    // In a copy: what the host does meanwhile may run this record again.
    if (!Attempt([&] { Show(*stack, qs::vector<Exchange>(exchanges_)); }))
        stack->MarkAllStale();
    return Outcome::Done;
}

/// Puts what was saved into a layer of the document, and returns the layer: the selection mask may be another one.
qs::Reference<Layer> PntUndoStroke::Put(LayerStack& stack, const qs::Reference<Layer>& layer,
                                        const Saved& saved) noexcept
{
    qs::Reference<Layer> target = layer;
    if (saved.mask && stack.GetSelectionMask() == layer.get()) {
        stack.PutBackSelectionMask(*saved.mask);
        target = saved.mask;
    }
    target->RestoreContent(saved.content);
    if (saved.isSelectionMask) {
        target->SetVisible(saved.isVisible);
        target->SetLayerContainerHandle(saved.handle);
    }
    return target;
}

/// Exchanges what the layers have with what was saved; done twice, everything is as before.
void PntUndoStroke::Commit() noexcept
{
    for (Exchange& exchange : exchanges_) {
        exchange.layer = Put(*GetLayerStack(), exchange.layer, saved_[exchange.index]);
        std::swap(saved_[exchange.index], exchange.other);
    }
}

void PntUndoStroke::Revert() noexcept
{
    Commit();
    if (GetLayerStack())
        GetLayerStack()->MarkAllStale();
}

void PntUndoStroke::Settle() noexcept
{
    exchanges_.clear();
    isPrepared_ = false;
}

void PntUndoStroke::RollBack() noexcept
{
    const qs::Reference<LayerStack> stack = GetLayerStack();
    if (!stack)
        return;
    for (size_t i = 0; i < saved_.size(); ++i)
        if (const qs::Reference<Layer> layer = FindLayer(i)) {
            layer->EndProxy();
            Put(*stack, layer, saved_[i]);
        }
    stack->MarkAllStale();
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
        if (exchange.isMask && exchange.wasVisible != exchange.layer->isVisible())
            GetStackPort().ContainerState(handle);
    }
    GetUndoPort().ContentChanged(GetPaintCore());
}

bool PntUndoStroke::TakeIn(const PntUndoOper& later) noexcept
{
    const auto* move = dynamic_cast<const PntUndoStroke*>(&later);
    if (move == nullptr || !isMove_ || !move->isMove_ || IsUndone() || !(move->GetLayerStack() == GetLayerStack()) ||
        move->size() != size())
        return false;
    for (int i = 0; i < size(); ++i)
        if (move->GetLayerContainerHandle(i) != GetLayerContainerHandle(i))
            return false;
    return true;
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

void PntUndoStroke::CountReleased(PageAccount& account) const
{
    for (const Saved& saved : saved_) {
        account.DropImage(saved.content.image.get());
        account.DropImage(saved.content.pixels.get());
        if (account.Drop(saved.mask.get()))
            saved.mask->CountReleased(account);
    }
    PntUndoLayer::CountReleased(account);
}

void PntUndoStroke::Archive(PntUndoDatabase* database)
{
    saved_.clear();
    exchanges_.clear();
    isPrepared_ = false;
    PntUndoLayer::Archive(database);
}
