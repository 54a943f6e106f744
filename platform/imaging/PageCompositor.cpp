#include "platform/imaging/PageCompositor.h"

#include "platform/imaging/PageWalk.h"
#include "platform/imaging/RowBlender.h"
#include "platform/imaging/ilMemoryImg.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <map>
#include <utility>

namespace {

constexpr int kChannels = 4;
constexpr ptrdiff_t kStride = ptrdiff_t{kPageSize} * kChannels;
constexpr int64_t kPagesWalkedOneByOne = 1024;

constexpr ptrdiff_t PageOffset(int x, int y)
{
    return (ptrdiff_t{PageOffsetOf(y)} * kPageSize + PageOffsetOf(x)) * kChannels;
}

bool IsAligned(const CompositeSource& source)
{
    return ((source.x | source.y) & (kPageSize - 1)) == 0;
}

bool IsPlain(const CompositeSource& source)
{
    return source.mode == kBlendNormal && source.weight == kernels::kFullWeight;
}

/// What one source has to say about one page of the target.
struct PageSource {
    const CompositeSource* source;
    const Page* page;  // the one page that lines up; null when the source's grid is moved against the target's
    bool hasStencil;  // something of the stencil may lie here
};

/// Composes one page after another; scratch memory is kept between pages.
class PageComposer {
public:
    explicit PageComposer(const qs::vector<CompositeSource>& sources) : sources_(sources)
    {
        active_.reserve(sources.size());
    }

    /// part: within the page (px, py).
    void ComposeInto(ilMIOImage& target, int px, int py, const ilTile& part)
    {
        Gather(px, py, part);
        const bool isWhole = part.nx == kPageSize && part.ny == kPageSize;
        if (active_.empty()) {
            target.fillTile(part, ilPixel());
            return;
        }
        if (const Page* only = GetOnlyPage(); only != nullptr && isWhole) {
            target.SetPage(px, py, PagePtr(const_cast<Page*>(only)));  // shared: nobody writes it
            return;
        }
        const PageWriter writer(isWhole ? target.PageForOverwriting(px, py) : target.PageForWriting(px, py));
        DrawAll(writer.GetBytes() + PageOffset(part.x, part.y), part);
    }

    /// The same for a memory image, through a scratch page that stays in the cache.
    void ComposeInto(ilMemoryImg& target, int px, int py, const ilTile& part)
    {
        Gather(px, py, part);
        if (active_.empty()) {
            target.fillTile(part, ilPixel());
            return;
        }
        const Page* only = GetOnlyPage();
        const uint8_t* in = (only != nullptr ? only->GetBytes() : scratch_) + PageOffset(part.x, part.y);
        if (only == nullptr)
            DrawAll(scratch_ + PageOffset(part.x, part.y), part);
        uint8_t* out = target.WriteRows(part);
        for (int y = 0; y < part.ny; ++y, in += kStride, out += target.GetStrideBytes())
            std::memcpy(out, in, static_cast<size_t>(part.nx) * kChannels);
    }

private:
    /// The sources that show within `part`, bottom to top, from the topmost one that hides all below it.
    void Gather(int px, int py, const ilTile& part)
    {
        active_.clear();
        for (size_t i = sources_.size(); i-- > 0;) {
            const CompositeSource& source = sources_[i];
            if (source.weight == 0)
                continue;
            PageSource entry{&source, nullptr, HasStencil(source, part)};
            if (IsAligned(source)) {
                entry.page =
                    source.image->ReadPage(px - (source.x >> kPageShift), py - (source.y >> kPageShift)).GetPage();
                const bool isMissing = entry.page == nullptr;
                if (isMissing ? !HasFill(source) : entry.page->GetContent() == PageContent::Transparent)
                    continue;
            } else if (!HasPixels(source, part)) {
                continue;
            }
            active_.push_back(entry);
            if (entry.page != nullptr && IsPlain(source) && !entry.hasStencil &&
                entry.page->GetContent() == PageContent::Opaque)
                break;
        }
        std::reverse(active_.begin(), active_.end());
    }

    /// Whether the source is one page taken as it is.
    static bool IsCopy(const PageSource& entry)
    {
        return entry.page != nullptr && IsPlain(*entry.source) && !entry.hasStencil;
    }

    /// The page that is the whole result; null when there is something to blend.
    const Page* GetOnlyPage() const
    {
        return active_.size() == 1 && IsCopy(active_.front()) ? active_.front().page : nullptr;
    }

    /// Blends the sources into the rows of a page from pixel `part`'s first one on.
    void DrawAll(uint8_t* out, const ilTile& part) const
    {
        const bool copiesFirst = IsCopy(active_.front());
        if (copiesFirst)
            CopyRows(out, active_.front().page->GetBytes() + PageOffset(part.x, part.y), part);
        else
            ClearRows(out, part);
        for (size_t i = copiesFirst ? 1 : 0; i < active_.size(); ++i)
            Draw(active_[i], out, part);
    }

    /// Whether unstored pixels show.
    static bool HasFill(const CompositeSource& source) { return source.image->GetFillValue().GetPacked() != 0; }

    static bool HasPixels(const CompositeSource& source, const ilTile& part)
    {
        bool has = HasFill(source);
        ForEachPage(ilTileMoved(part, -int64_t{source.x}, -int64_t{source.y}), [&](int px, int py, const ilTile&) {
            const PageReader page = source.image->ReadPage(px, py);
            has = has || (!page.IsMissing() && page.GetPage()->GetContent() != PageContent::Transparent);
        });
        return has;
    }

    static bool HasStencil(const CompositeSource& source, const ilTile& part)
    {
        if (source.stencil == nullptr)
            return false;
        bool has = source.stencil->GetFillValue().GetPacked() != 0;
        if (!has)
            ForEachPage(ilTileMoved(part, -int64_t{source.stencilX}, -int64_t{source.stencilY}), [&](int px, int py,
                                                                                                     const ilTile&) {
                const PageReader page = source.stencil->ReadPage(px, py);
                has = has || (!page.IsMissing() && page.GetPage()->GetContent() != PageContent::Transparent);
            });
        return has;
    }

    static void CopyRows(uint8_t* out, const uint8_t* in, const ilTile& part)
    {
        if (part.nx == kPageSize) {
            std::memcpy(out, in, static_cast<size_t>(part.ny * kStride));
            return;
        }
        for (int y = 0; y < part.ny; ++y, out += kStride, in += kStride)
            std::memcpy(out, in, static_cast<size_t>(part.nx) * kChannels);
    }

    static void ClearRows(uint8_t* out, const ilTile& part)
    {
        for (int y = 0; y < part.ny; ++y, out += kStride)
            std::memset(out, 0, static_cast<size_t>(part.nx) * kChannels);
    }

    static void Draw(const PageSource& entry, uint8_t* out, const ilTile& part)
    {
        const CompositeSource& source = *entry.source;
        ImageBlend blend;
        blend.mode = source.mode;
        blend.alphaWeight = source.weight;
        const RowBlender blender(kChannels, blend);
        if (entry.page != nullptr && !entry.hasStencil) {
            const uint8_t* in = entry.page->GetBytes() + PageOffset(part.x, part.y);
            if (part.nx == kPageSize) {
                blender.Blend(out, in, nullptr, part.nx * part.ny);
                return;
            }
            for (int y = 0; y < part.ny; ++y, out += kStride, in += kStride)
                blender.Blend(out, in, nullptr, part.nx);
            return;
        }
        alignas(64) uint8_t rows[kPagePixels * kChannels];
        source.image->ReadTile(ilTileMoved(part, -int64_t{source.x}, -int64_t{source.y}), rows, kStride);
        if (entry.hasStencil)
            HideByStencil(source, rows, part);
        for (int y = 0; y < part.ny; ++y, out += kStride)
            blender.Blend(out, rows + y * kStride, nullptr, part.nx);
    }

    static void HideByStencil(const CompositeSource& source, uint8_t* rows, const ilTile& part)
    {
        uint8_t coverage[kPagePixels];
        source.stencil->ReadTile(ilTileMoved(part, -int64_t{source.stencilX}, -int64_t{source.stencilY}), coverage,
                                 kPageSize);
        const auto hide = kernels::Get().eraseCoverage;
        for (int y = 0; y < part.ny; ++y)
            hide(rows + y * kStride, coverage + y * kPageSize, kernels::kFullWeight, part.nx);
    }

    const qs::vector<CompositeSource>& sources_;
    qs::vector<PageSource> active_;
    alignas(64) uint8_t scratch_[kPagePixels * kChannels];
};

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
void ComposeTile(Target& target, const ilTile& tile, const qs::vector<CompositeSource>& sources, ClearRest&& clearRest)
{
    PageComposer composer(sources);
    const int64_t pages = (tile.Area() >> (2 * kPageShift)) + 1;
    const bool isFilled = std::any_of(sources.begin(), sources.end(), [](const CompositeSource& source) {
        return source.image->GetFillValue().GetPacked() != 0;
    });
    if (pages <= kPagesWalkedOneByOne || isFilled) {
        ForEachPage(tile, [&](int px, int py, const ilTile& part) { composer.ComposeInto(target, px, py, part); });
        return;
    }
    const StoredPages stored(tile, sources);
    clearRest([&](int px, int py) { return stored.IsStored(px, py); });
    stored.ForEach([&](int px, int py, const ilTile& part) { composer.ComposeInto(target, px, py, part); });
}

}  // namespace

void ComposePages(ilMIOImage& target, const ilTile& tile, const qs::vector<CompositeSource>& sources)
{
    if (tile.IsEmpty() || target.GetNumChannels() != kChannels)
        return;
    ComposeTile(target, tile, sources, [&](const auto& isStored) {
        qs::vector<std::pair<int, int>> stale;
        target.VisitPages(tile, [&](int px, int py, const Page&) {
            if (!isStored(px, py))
                stale.emplace_back(px, py);
        });
        for (const auto& [px, py] : stale)
            target.fillTile(ilTileIntersection(tile, PageTile(px, py)), ilPixel());
    });
}

void ComposePages(ilMemoryImg& target, const ilTile& tile, const qs::vector<CompositeSource>& sources)
{
    const ilTile inside = ilTileIntersection(tile, target.GetBounds());
    if (inside.IsEmpty() || target.GetNumChannels() != kChannels)
        return;
    ComposeTile(target, inside, sources, [&](const auto& isStored) {
        target.VisitWrittenCells(inside, [&](int px, int py) {
            if (!isStored(px, py))
                target.fillTile(ilTileIntersection(inside, PageTile(px, py)), ilPixel());
        });
    });
}
