#include "platform/imaging/PageDirectory.h"

PageBlock* PageDirectory::FindForWriting(int bx, int by)
{
    if (2 * (used_ + 1) > slots_.size())
        Grow();
    for (size_t i = HashOf(bx, by) & (slots_.size() - 1);; i = (i + 1) & (slots_.size() - 1)) {
        Slot& slot = slots_[i];
        if (!slot.block) {
            slot = {bx, by, qs::Reference<PageBlock>(new PageBlock)};
            ++used_;
            return slot.block.get();
        }
        if (slot.bx == bx && slot.by == by) {
            if (slot.block->GetRefCount() > 1)
                slot.block = qs::Reference<PageBlock>(new PageBlock(*slot.block));
            return slot.block.get();
        }
    }
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
