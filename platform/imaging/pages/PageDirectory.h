#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/Page.h"

#include <cstdint>
#include <vector>

inline constexpr int kBlockShift = 4;  // a block is 16 × 16 pages = 1024 × 1024 pixels
inline constexpr int kBlockSize = 1 << kBlockShift;
inline constexpr int kBlockPages = kBlockSize * kBlockSize;

/// 16 × 16 neighbouring pages; counted, shared between directories, copied by the first writer.
class PageBlock : public qs::ReferenceCount {
public:
    /// px, py: page coordinates; only their place in the block counts.
    static int SlotOf(int px, int py) { return (py & (kBlockSize - 1)) << kBlockShift | (px & (kBlockSize - 1)); }

    PagePtr pages[kBlockPages];
    int count = 0;  // of pages present
};

/// The pages of one image by page coordinates: a sparse table of blocks, keyed by block coordinates. Copying a
/// directory shares its blocks; an empty one holds no memory.
class PageDirectory : public qs::ReferenceCount {
public:
    PageDirectory() = default;
    PageDirectory(const PageDirectory& other) : qs::ReferenceCount(other), slots_(other.slots_), used_(other.used_) {}

    struct Slot {
        int bx = 0;
        int by = 0;
        qs::Reference<PageBlock> block;  // null: the slot is free
    };

    /// The block of block coordinates (bx, by), or null.
    PageBlock* Find(int bx, int by) const
    {
        if (slots_.empty())
            return nullptr;
        for (size_t i = HashOf(bx, by) & (slots_.size() - 1);; i = (i + 1) & (slots_.size() - 1)) {
            const Slot& slot = slots_[i];
            if (!slot.block)
                return nullptr;
            if (slot.bx == bx && slot.by == by)
                return slot.block.get();
        }
    }

    /// The block for writing: made when missing, copied when shared.
    PageBlock* FindForWriting(int bx, int by);

    /// Puts a block in the place of the one there, shared; not null.
    void SetBlock(int bx, int by, qs::Reference<PageBlock> block);

    bool IsEmpty() const { return used_ == 0; }
    const std::vector<Slot>& GetSlots() const { return slots_; }  // in no order; free ones have no block

private:
    static size_t HashOf(int bx, int by)
    {
        const uint64_t key = uint64_t{static_cast<uint32_t>(by)} << 32 | static_cast<uint32_t>(bx);
        return static_cast<size_t>((key * 0x9E3779B97F4A7C15U) >> 32);
    }
    void Grow();
    Slot& SlotForWriting(int bx, int by);  // a free one is taken, its block still null

    std::vector<Slot> slots_;  // open addressing, a power of two, at most half full
    size_t used_ = 0;
};
