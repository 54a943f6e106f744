#include "platform/imaging/pages/ilMIOImage.h"

#include "platform/imaging/pages/PageWalk.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kBlockPixels = kBlockSize * kPageSize;

ilTile BlockTile(int bx, int by)
{
    return {bx * kBlockPixels, by * kBlockPixels, kBlockPixels, kBlockPixels};
}

/// The whole blocks within `tile`.
ilTile WholeBlocksOf(const ilTile& tile)
{
    constexpr int64_t kMask = kBlockPixels - 1;
    const int64_t left = (tile.x + kMask) & ~kMask;
    const int64_t top = (tile.y + kMask) & ~kMask;
    const int64_t right = tile.Right() & ~kMask;
    const int64_t bottom = tile.Bottom() & ~kMask;
    return left < right && top < bottom ? ilTileFromEdges(left, top, right, bottom) : ilTile();
}

}  // namespace

ilMIOImage::ilMIOImage(const ilPixel& fill) : ilImage(fill) {}

ilMIOImage::~ilMIOImage() = default;

ilTile ilMIOImage::GetBounds() const
{
    if (hasTightBounds_)
        return bounds_;
    if (!pageBoundsKnown_) {
        pageBounds_ = {};
        if (directory_ != nullptr) {
            for (const PageDirectory::Slot& slot : directory_->GetSlots()) {
                if (!slot.block || slot.block->count == 0)
                    continue;
                for (int i = 0; i < kBlockPages; ++i)
                    if (slot.block->pages[i])
                        pageBounds_ = ilTileUnion(pageBounds_, PageTile(slot.bx * kBlockSize + i % kBlockSize,
                                                                        slot.by * kBlockSize + i / kBlockSize));
            }
        }
        pageBoundsKnown_ = true;
    }
    return pageBounds_;
}

void ilMIOImage::SetFillValue(const ilPixel& value)
{
    fill_ = ilPixel(fill_.GetDataType(), GetNumChannels(), value.GetPacked());
    hasChanged_ = true;
}

qs::Reference<ilMIOImage> ilMIOImage::Snapshot() const
{
    qs::Reference<ilMIOImage> copy(new ilMIOImage(fill_));
    copy->ShareAllFrom(*this);
    return copy;
}

void ilMIOImage::ShareAllFrom(const ilMIOImage& source)
{
    if (source.GetNumChannels() != GetNumChannels())
        return;
    directory_ = source.directory_;
    fill_ = source.fill_;
    bounds_ = source.bounds_;
    hasTightBounds_ = source.hasTightBounds_;
    pageBounds_ = source.pageBounds_;
    pageBoundsKnown_ = source.pageBoundsKnown_;
    hasChanged_ = source.hasChanged_;  // the bounds come along, so they are as good as they were there
    ForgetCache();
    source.ForgetCache();
}

void ilMIOImage::ReferenceSeedPages(const ilMIOImage& source, const ilTile& area)
{
    if (source.GetNumChannels() != GetNumChannels() || area.IsEmpty())
        return;
    if (IsEmpty() && fill_ == source.fill_ && area.Contains(source.GetBounds())) {
        ShareAllFrom(source);
        return;
    }
    // Where only this image stores a page, the source's fill value takes its place.
    qs::vector<std::pair<int, int>> onlyHere;
    VisitPages(area, [&](int px, int py, const Page&) {
        if (source.FindPage(px, py) == nullptr)
            onlyHere.emplace_back(px, py);
    });
    for (const auto& [px, py] : onlyHere)
        SetPageUniform(px, py, source.fill_.GetPacked());
    source.VisitPages(area, [&](int px, int py, const Page&) { SetPage(px, py, source.SharePage(px, py)); });
}

void ilMIOImage::Clear()
{
    directory_ = nullptr;
    ForgetCache();
    hasTightBounds_ = false;
    hasChanged_ = true;
    pageBounds_ = {};
    pageBoundsKnown_ = true;
}

size_t ilMIOImage::GetPageCount() const
{
    size_t count = 0;
    if (directory_ != nullptr)
        for (const PageDirectory::Slot& slot : directory_->GetSlots())
            if (slot.block)
                count += static_cast<size_t>(slot.block->count);
    return count;
}

size_t ilMIOImage::GetAllocatedBytes() const
{
    size_t bytes = 0;
    VisitPages(GetBounds(), [&](int, int, const Page& page) { bytes += page.IsUniform() ? 0 : page.GetByteCount(); });
    return bytes;
}

PageDirectory& ilMIOImage::DirectoryForWriting()
{
    if (directory_ == nullptr) {
        directory_ = qs::Reference<PageDirectory>(new PageDirectory);
    } else if (directory_->GetRefCount() > 1) {
        directory_ = qs::Reference<PageDirectory>(new PageDirectory(*directory_));
        ForgetCache();
    }
    return *directory_;
}

PageBlock* ilMIOImage::BlockForWriting(int px, int py)
{
    const int bx = px >> kBlockShift;
    const int by = py >> kBlockShift;
    hasChanged_ = true;
    if (cachedBlock_ == nullptr || !cachedIsPrivate_ || bx != cachedX_ || by != cachedY_) {
        cachedBlock_ = nullptr;
        cachedBlock_ = DirectoryForWriting().FindForWriting(bx, by);
        cachedX_ = bx;
        cachedY_ = by;
        cachedIsPrivate_ = true;
    }
    return cachedBlock_;
}

void ilMIOImage::GrowTightBounds(const ilTile& pages)
{
    if (hasTightBounds_ && !bounds_.Contains(pages))
        bounds_ = ilTileUnion(bounds_, pages);
    if (pageBoundsKnown_ && !pageBounds_.Contains(pages))
        pageBounds_ = ilTileUnion(pageBounds_, pages);
}

Page* ilMIOImage::PageForWriting(int px, int py)
{
    PageBlock* block = BlockForWriting(px, py);
    PagePtr& slot = block->pages[PageBlock::SlotOf(px, py)];
    if (!slot) {
        const PagePtr made(Page::NewUniform(GetNumChannels(), fill_.GetPacked()));
        made->GetBytes();  // the memory now, so that running out of it leaves the image as it is
        slot = made;
        ++block->count;
        GrowTightBounds(PageTile(px, py));
    } else if (slot->IsShared()) {
        slot = PagePtr(Page::NewCopy(*slot.get()));
    }
    if (hasTightBounds_ && !bounds_.Contains(PageTile(px, py)))
        GrowTightBounds(PageTile(px, py));
    return slot.get();
}

Page* ilMIOImage::PageForOverwriting(int px, int py)
{
    PageBlock* block = BlockForWriting(px, py);
    PagePtr& slot = block->pages[PageBlock::SlotOf(px, py)];
    if (!slot || slot->IsShared() || slot->IsUniform()) {
        PagePtr made(Page::NewBlank(GetNumChannels()));
        block->count += slot ? 0 : 1;
        slot = std::move(made);
    }
    GrowTightBounds(PageTile(px, py));
    return slot.get();
}

void ilMIOImage::SetPage(int px, int py, PagePtr page)
{
    if (FindPage(px, py) == page.get())
        return;
    PageBlock* block = BlockForWriting(px, py);
    PagePtr& slot = block->pages[PageBlock::SlotOf(px, py)];
    block->count += (page ? 1 : 0) - (slot ? 1 : 0);
    if (page)
        GrowTightBounds(PageTile(px, py));
    else
        pageBoundsKnown_ = false;
    slot = std::move(page);
}

void ilMIOImage::SetPageUniform(int px, int py, uint32_t packedValue)
{
    if (packedValue == fill_.GetPacked())
        SetPage(px, py, PagePtr());
    else
        SetPage(px, py, PagePtr(Page::NewUniform(GetNumChannels(), packedValue)));
}

PageContent ilMIOImage::GetContentOf(const ilTile& tile) const
{
    const PageContent unstored = fill_.GetPacked() == 0    ? PageContent::Transparent
                                 : fill_.GetAlpha() == 255 ? PageContent::Opaque
                                                           : PageContent::Mixed;
    PageContent all = PageContent::Unknown;
    ForEachPage(tile, [&](int px, int py, const ilTile&) {
        const Page* page = FindPage(px, py);
        const PageContent content = page != nullptr ? page->GetContent() : unstored;
        all = all == PageContent::Unknown || all == content ? content : PageContent::Mixed;
    });
    return all;
}

/// Stores one shared block of one shared page in all whole blocks of `tile`, and says which pixels these are.
ilTile ilMIOImage::FillBlocks(const ilTile& tile, const PagePtr& uniform)
{
    const ilTile whole = WholeBlocksOf(tile);
    if (whole.IsEmpty())
        return whole;
    const qs::Reference<PageBlock> block(new PageBlock);
    std::fill(std::begin(block->pages), std::end(block->pages), uniform);
    block->count = kBlockPages;
    PageDirectory& directory = DirectoryForWriting();
    ForgetCache();
    hasChanged_ = true;
    GrowTightBounds(whole);
    for (int64_t y = whole.y; y < whole.Bottom(); y += kBlockPixels)
        for (int64_t x = whole.x; x < whole.Right(); x += kBlockPixels)
            directory.SetBlock(static_cast<int>(x / kBlockPixels), static_cast<int>(y / kBlockPixels), block);
    return whole;
}

/// Drops all pages of the blocks that lie within `tile`.
void ilMIOImage::ClearBlocks(const ilTile& tile)
{
    qs::vector<std::pair<int, int>> blocks;
    if (directory_ != nullptr)
        for (const PageDirectory::Slot& slot : directory_->GetSlots())
            if (slot.block && slot.block->count > 0 && tile.Contains(BlockTile(slot.bx, slot.by)))
                blocks.emplace_back(slot.bx, slot.by);
    if (blocks.empty())
        return;
    const qs::Reference<PageBlock> blank(new PageBlock);
    PageDirectory& directory = DirectoryForWriting();
    ForgetCache();
    hasChanged_ = true;
    pageBoundsKnown_ = false;
    for (const auto& [bx, by] : blocks)
        directory.SetBlock(bx, by, blank);
}

/// Only stored pages can change: a clear costs what is there, not what the tile spans.
void ilMIOImage::ClearTile(const ilTile& tile)
{
    ClearBlocks(tile);
    qs::vector<std::pair<int, int>> stored;
    VisitPages(tile, [&](int px, int py, const Page&) { stored.emplace_back(px, py); });
    for (const auto& [px, py] : stored)
        FillPagePart(px, py, ilTileIntersection(tile, PageTile(px, py)), fill_.GetPacked());
}

void ilMIOImage::fillTile(const ilTile& tile, const ilPixel& value)
{
    const uint32_t packed = ilPixel(kUnsignedByte, GetNumChannels(), value.GetPacked()).GetPacked();
    if (tile.IsEmpty())
        return;
    if (packed == fill_.GetPacked()) {
        ClearTile(tile);
        return;
    }
    // One page for all whole ones, one block for all whole blocks: a filled layer costs 16 KiB at most.
    const PagePtr uniform(Page::NewUniform(GetNumChannels(), packed));
    const ilTile blocks = FillBlocks(tile, uniform);
    const auto fill = [&](const ilTile& rest) {
        ForEachPage(rest, [&](int px, int py, const ilTile& part) {
            if (part.nx == kPageSize && part.ny == kPageSize)
                SetPage(px, py, uniform);
            else
                FillPagePart(px, py, part, packed);
        });
    };
    if (blocks.IsEmpty()) {
        fill(tile);
        return;
    }
    fill(ilTileFromEdges(tile.x, tile.y, tile.Right(), blocks.y));
    fill(ilTileFromEdges(tile.x, blocks.y, blocks.x, blocks.Bottom()));
    fill(ilTileFromEdges(blocks.Right(), blocks.y, tile.Right(), blocks.Bottom()));
    fill(ilTileFromEdges(tile.x, blocks.Bottom(), tile.Right(), tile.Bottom()));
}

void ilMIOImage::FillPagePart(int px, int py, const ilTile& part, uint32_t packed)
{
    if (part.nx == kPageSize && part.ny == kPageSize) {
        SetPageUniform(px, py, packed);
        return;
    }
    const Page* page = FindPage(px, py);
    if (page != nullptr && page->IsUniform() && page->GetUniformValue() == packed)
        return;
    const PageWriter writer = WritePage(px, py);
    const int channels = GetNumChannels();
    const ptrdiff_t stride = ptrdiff_t{kPageSize} * channels;
    uint8_t* row = writer.GetBytes() + PageOffsetOf(part.y) * stride + ptrdiff_t{PageOffsetOf(part.x)} * channels;
    for (int y = 0; y < part.ny; ++y, row += stride) {
        if (channels == 1) {
            std::memset(row, static_cast<int>(packed), static_cast<size_t>(part.nx));
            continue;
        }
        for (int x = 0; x < part.nx; ++x)
            std::memcpy(row + 4 * x, &packed, 4);
    }
}
