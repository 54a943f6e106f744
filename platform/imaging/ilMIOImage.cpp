#include "platform/imaging/ilMIOImage.h"

#include "platform/imaging/PageWalk.h"

#include <cstring>

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

void ilMIOImage::GrowTightBounds(int px, int py)
{
    const ilTile tile = PageTile(px, py);
    if (hasTightBounds_ && !bounds_.Contains(tile))
        bounds_ = ilTileUnion(bounds_, tile);
    if (pageBoundsKnown_ && !pageBounds_.Contains(tile))
        pageBounds_ = ilTileUnion(pageBounds_, tile);
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
        GrowTightBounds(px, py);
    } else if (slot->IsShared()) {
        slot = PagePtr(Page::NewCopy(*slot.get()));
    }
    if (hasTightBounds_ && !bounds_.Contains(PageTile(px, py)))
        GrowTightBounds(px, py);
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
    GrowTightBounds(px, py);
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
        GrowTightBounds(px, py);
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

void ilMIOImage::fillTile(const ilTile& tile, const ilPixel& value)
{
    const uint32_t packed = ilPixel(kUnsignedByte, GetNumChannels(), value.GetPacked()).GetPacked();
    const bool isFillValue = packed == fill_.GetPacked();
    if (isFillValue) {
        // Only stored pages can change: a clear costs what is there, not what the tile spans.
        qs::vector<std::pair<int, int>> stored;
        VisitPages(tile, [&](int px, int py, const Page&) { stored.emplace_back(px, py); });
        for (const auto& [px, py] : stored)
            FillPagePart(px, py, ilTileIntersection(tile, PageTile(px, py)), packed);
        return;
    }
    // One page for all whole ones: a filled layer costs its directory and 16 KiB at most.
    const PagePtr uniform(Page::NewUniform(GetNumChannels(), packed));
    ForEachPage(tile, [&](int px, int py, const ilTile& part) {
        if (part.nx == kPageSize && part.ny == kPageSize)
            SetPage(px, py, uniform);
        else
            FillPagePart(px, py, part, packed);
    });
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
