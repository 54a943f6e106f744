#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/PageDirectory.h"

#include <array>
#include <memory>
#include <utility>

/// One `Cell` for each page of an unbounded grid, made in blocks of 16 × 16 where one is first asked for.
template <class Cell>
class PageGrid {
public:
    /// The cell of page (px, py), made when missing. Stays where it is.
    Cell& At(int px, int py)
    {
        Block* block = FindBlock(px, py);
        if (block == nullptr) {
            auto made = std::make_unique<Block>();
            block = blocks_.insert_or_assign(KeyOf(px, py), std::move(made)).first->second.get();
            Remember(px, py, block);
        }
        return (*block)[PageBlock::SlotOf(px, py)];
    }

    /// The cell, or null where no block was made.
    const Cell* Find(int px, int py) const
    {
        const Block* block = FindBlock(px, py);
        return block != nullptr ? &(*block)[PageBlock::SlotOf(px, py)] : nullptr;
    }

    /// Calls visit(px, py, cell) for every cell of the blocks that were made, block by block.
    template <class Visitor>
    void ForEach(Visitor&& visit)
    {
        for (auto& [key, block] : blocks_)
            for (int i = 0; i < kBlockPages; ++i)
                visit(key.second * kBlockSize + i % kBlockSize, key.first * kBlockSize + i / kBlockSize, (*block)[i]);
    }
    template <class Visitor>
    void ForEach(Visitor&& visit) const
    {
        const_cast<PageGrid*>(this)->ForEach([&](int px, int py, const Cell& cell) { visit(px, py, cell); });
    }

private:
    using Block = std::array<Cell, kBlockPages>;
    using Key = std::pair<int, int>;  // block row, block column

    static Key KeyOf(int px, int py) { return {py >> kBlockShift, px >> kBlockShift}; }

    Block* FindBlock(int px, int py) const
    {
        if (lastBlock_ != nullptr && lastKey_ == KeyOf(px, py))
            return lastBlock_;
        const auto found = blocks_.find(KeyOf(px, py));
        return found != blocks_.end() ? Remember(px, py, found->second.get()) : nullptr;
    }
    Block* Remember(int px, int py, Block* block) const
    {
        lastKey_ = KeyOf(px, py);
        lastBlock_ = block;
        return block;
    }

    qs::map<Key, std::unique_ptr<Block>> blocks_;
    mutable Key lastKey_;
    mutable Block* lastBlock_ = nullptr;
};
