#include "platform/imaging/blend/ComposePages.h"

#include "platform/imaging/blend/PageComposer.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/os/Parallel.h"

#include <algorithm>
#include <bitset>
#include <map>
#include <utility>

namespace {

constexpr int64_t kPagesWalkedOneByOne = 1024;
constexpr int64_t kLeastPagesShared = 64;  // below, threads cost more than they bring

/// The pages of `tile` that any source stores, as one bitmap for each block of pages: what a sparse document costs is
/// its pages, not its canvas and not the box around them.
class StoredPages {
public:
    StoredPages(const ilTile& tile, const qs::vector<CompositeSource>& sources) : tile_(tile)
    {
        for (const CompositeSource& source : sources)
            source.image->VisitPages(ilTileMoved(tile, -int64_t{source.x}, -int64_t{source.y}),
                                     [&](int px, int py, const Page&) { Mark(source, px, py); });
    }

    bool IsStored(int px, int py) const
    {
        const auto block = blocks_.find({py >> kBlockShift, px >> kBlockShift});
        return block != blocks_.end() && block->second[static_cast<size_t>(PageBlock::SlotOf(px, py))];
    }

    template <class Visitor>
    void ForEach(Visitor&& visit) const
    {
        for (const auto& [place, pages] : blocks_)
            for (int i = 0; i < kBlockPages; ++i)
                if (pages[static_cast<size_t>(i)]) {
                    const int px = place.second * kBlockSize + i % kBlockSize;
                    const int py = place.first * kBlockSize + i / kBlockSize;
                    visit(px, py, ilTileIntersection(tile_, PageTile(px, py)));
                }
    }

private:
    using Block = std::bitset<kBlockPages>;

    void Mark(const CompositeSource& source, int px, int py)
    {
        const ilTile onCanvas = ilTileMoved(PageTile(px, py), source.x, source.y);
        ForEachPage(ilTileIntersection(onCanvas, tile_), [&](int tx, int ty, const ilTile&) {
            const std::pair<int, int> place{ty >> kBlockShift, tx >> kBlockShift};
            if (last_ == nullptr || place != lastPlace_) {
                last_ = &blocks_[place];
                lastPlace_ = place;
            }
            last_->set(static_cast<size_t>(PageBlock::SlotOf(tx, ty)));
        });
    }

    ilTile tile_;
    std::map<std::pair<int, int>, Block> blocks_;  // by row, then column
    Block* last_ = nullptr;  // neighbouring pages come one after the other
    std::pair<int, int> lastPlace_;
};

/// Composes every part of `tile` that any source shows; clearRest(isStored) clears what the target holds elsewhere.
template <class Target, class ClearRest>
void ComposeTile(Target& target, ilMIOImage* fractions, const ilTile& tile, const qs::vector<CompositeSource>& sources,
                 ClearRest&& clearRest)
{
    const int64_t pages = (tile.Area() >> (2 * kPageShift)) + 1;
    PageComposer composer(sources, fractions, pages >= kLeastPagesShared && GetThreadCount() > 1);
    const bool isFilled = std::any_of(sources.begin(), sources.end(), [](const CompositeSource& source) {
        return source.image->GetFillValue().GetPacked() != 0;
    });
    if (pages <= kPagesWalkedOneByOne || isFilled) {
        ForEachPage(tile, [&](int px, int py, const ilTile& part) { composer.ComposeInto(target, px, py, part); });
    } else {
        const StoredPages stored(tile, sources);
        clearRest([&](int px, int py) { return stored.IsStored(px, py); });
        stored.ForEach([&](int px, int py, const ilTile& part) { composer.ComposeInto(target, px, py, part); });
    }
    composer.Flush();
}

}  // namespace

void ComposePages(ilMIOImage& target, const ilTile& tile, const qs::vector<CompositeSource>& sources,
                  ilMIOImage* fractions)
{
    if (tile.IsEmpty() || target.GetNumChannels() != 4)
        return;
    ComposeTile(target, fractions, tile, sources, [&](const auto& isStored) {
        qs::vector<std::pair<int, int>> stale;
        target.VisitPages(tile, [&](int px, int py, const Page&) {
            if (!isStored(px, py))
                stale.emplace_back(px, py);
        });
        for (const auto& [px, py] : stale) {
            const ilTile part = ilTileIntersection(tile, PageTile(px, py));
            target.fillTile(part, ilPixel());
            if (fractions != nullptr)
                fractions->fillTile(part, kWholeLevels);
        }
    });
}

void ComposePages(ilMemoryImg& target, const ilTile& tile, const qs::vector<CompositeSource>& sources)
{
    const ilTile inside = ilTileIntersection(tile, target.GetBounds());
    if (inside.IsEmpty() || target.GetNumChannels() != 4)
        return;
    ComposeTile(target, nullptr, inside, sources, [&](const auto& isStored) {
        target.VisitWrittenCells(inside, [&](int px, int py) {
            if (!isStored(px, py))
                target.fillTile(ilTileIntersection(inside, PageTile(px, py)), ilPixel());
        });
    });
}
