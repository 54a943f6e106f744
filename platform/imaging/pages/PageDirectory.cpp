#include "platform/imaging/pages/PageDirectory.h"

PageDirectory::Slot& PageDirectory::SlotForWriting(int bx, int by)
{
    if (2 * (used_ + 1) > slots_.size())
        Grow();
    size_t i = HashOf(bx, by) & (slots_.size() - 1);
    while (slots_[i].block && (slots_[i].bx != bx || slots_[i].by != by))
        i = (i + 1) & (slots_.size() - 1);
    return slots_[i];
}

PageBlock* PageDirectory::FindForWriting(int bx, int by)
{
    Slot& slot = SlotForWriting(bx, by);
    if (!slot.block) {
        slot = {bx, by, qs::Reference<PageBlock>(new PageBlock)};
        ++used_;
    } else if (slot.block->GetRefCount() > 1) {
        slot.block = qs::Reference<PageBlock>(new PageBlock(*slot.block));
    }
    return slot.block.get();
}

void PageDirectory::SetBlock(int bx, int by, qs::Reference<PageBlock> block)
{
    Slot& slot = SlotForWriting(bx, by);
    used_ += slot.block ? 0 : 1;
    slot = {bx, by, std::move(block)};
}

void PageDirectory::Grow()
{
    std::vector<Slot> old(slots_.empty() ? 4 : slots_.size() * 2);
    old.swap(slots_);
    for (Slot& slot : old) {
        if (!slot.block)
            continue;
        size_t i = HashOf(slot.bx, slot.by) & (slots_.size() - 1);
        while (slots_[i].block)
            i = (i + 1) & (slots_.size() - 1);
        slots_[i] = std::move(slot);
    }
}
