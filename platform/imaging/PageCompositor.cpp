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
    PageComposer(ilMIOImage& target, const qs::vector<CompositeSource>& sources) : target_(target), sources_(sources)
    {
        active_.reserve(sources.size());
    }

    /// part: within the page (px, py).
    void Compose(int px, int py, const ilTile& part)
    {
        Gather(px, py, part);
        const bool isWhole = part.nx == kPageSize && part.ny == kPageSize;
        if (active_.empty()) {
            target_.fillTile(part, ilPixel());
            return;
        }
        const PageSource& first = active_.front();
        const bool isCopy = first.page != nullptr && IsPlain(*first.source) && !first.hasStencil;
        if (active_.size() == 1 && isCopy && isWhole) {
            target_.SetPage(px, py, PagePtr(const_cast<Page*>(first.page)));  // shared: nobody writes it
            return;
        }
        const PageWriter writer(isWhole ? target_.PageForOverwriting(px, py) : target_.PageForWriting(px, py));
        uint8_t* out = writer.GetBytes() + PageOffset(part.x, part.y);
        for (size_t i = 0; i < active_.size(); ++i) {
            if (i == 0 && isCopy)
                CopyRows(out, first.page->GetBytes() + PageOffset(part.x, part.y), part);
            else {
                if (i == 0)
                    ClearRows(out, part);
                Draw(active_[i], out, part);
            }
        }
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

    void Draw(const PageSource& entry, uint8_t* out, const ilTile& part)
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

    ilMIOImage& target_;
    const qs::vector<CompositeSource>& sources_;
    qs::vector<PageSource> active_;
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

}  // namespace

void ComposePages(ilMIOImage& target, const ilTile& tile, const qs::vector<CompositeSource>& sources)
{
    if (tile.IsEmpty() || target.GetNumChannels() != kChannels)
        return;
    PageComposer composer(target, sources);
    const int64_t pages = (tile.Area() >> (2 * kPageShift)) + 1;
    const bool isFilled = std::any_of(sources.begin(), sources.end(), [](const CompositeSource& source) {
        return source.image->GetFillValue().GetPacked() != 0;
    });
    if (pages <= kPagesWalkedOneByOne || isFilled) {
        ForEachPage(tile, [&](int px, int py, const ilTile& part) { composer.Compose(px, py, part); });
        return;
    }
    const StoredPages stored(tile, sources);
    qs::vector<std::pair<int, int>> stale;
    target.VisitPages(tile, [&](int px, int py, const Page&) {
        if (!stored.IsStored(px, py))
            stale.emplace_back(px, py);
    });
    for (const auto& [px, py] : stale)
        target.fillTile(ilTileIntersection(tile, PageTile(px, py)), ilPixel());
    stored.ForEach([&](int px, int py, const ilTile& part) { composer.Compose(px, py, part); });
}

void CopyToMemory(ilMemoryImg& target, const ilTile& tile, const ilMIOImage& source)
{
    if (target.GetNumChannels() != kChannels || source.GetNumChannels() != kChannels)
        return;
    const ilTile inside = ilTileIntersection(tile, target.GetBounds());
    const auto shows = [](const Page* page) {
        return page != nullptr && page->GetContent() != PageContent::Transparent;
    };
    // What was written and has nothing to show any more is cleared; then what is stored is copied. Both cost what is
    // there, so that a large blank canvas costs nothing.
    target.VisitWrittenCells(inside, [&](int px, int py) {
        if (!shows(source.ReadPage(px, py).GetPage()))
            target.fillTile(ilTileIntersection(inside, PageTile(px, py)), ilPixel());
    });
    source.VisitPages(inside, [&](int px, int py, const Page& page) {
        if (!shows(&page))
            return;
        const ilTile part = ilTileIntersection(inside, PageTile(px, py));
        const uint8_t* in = page.GetBytes() + PageOffset(part.x, part.y);
        uint8_t* out = target.WriteRows(part);
        for (int y = 0; y < part.ny; ++y, in += kStride, out += target.GetStrideBytes())
            std::memcpy(out, in, static_cast<size_t>(part.nx) * kChannels);
    });
}
