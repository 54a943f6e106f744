#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/PageDirectory.h"
#include "platform/imaging/pages/ilImage.h"

/// A scoped look at one page: pins it, so that its bytes stay where they are. A missing page has no bytes and reads as
/// the image's fill value.
class PageReader {
public:
    PageReader() = default;
    explicit PageReader(const Page* page) : page_(page)
    {
        if (page_ != nullptr)
            page_->Pin();
    }
    PageReader(PageReader&& other) noexcept : page_(std::exchange(other.page_, nullptr)) {}
    PageReader& operator=(PageReader&& other) noexcept
    {
        std::swap(page_, other.page_);
        return *this;
    }
    ~PageReader()
    {
        if (page_ != nullptr)
            page_->Unpin();
    }

    bool IsMissing() const { return page_ == nullptr; }
    const Page* GetPage() const { return page_; }
    const uint8_t* GetBytes() const { return page_->GetBytes(); }

private:
    const Page* page_ = nullptr;
};

/// A scoped hold on one page for writing: the page is private to its image, pinned, and its contents count as unknown.
class PageWriter {
public:
    explicit PageWriter(Page* page) : page_(page), bytes_(page->BytesForWriting()) { page_->Pin(); }
    PageWriter(const PageWriter&) = delete;
    PageWriter& operator=(const PageWriter&) = delete;
    ~PageWriter() { page_->Unpin(); }

    uint8_t* GetBytes() const { return bytes_; }
    Page* GetPage() const { return page_; }

private:
    Page* page_;
    uint8_t* bytes_;
};

/// A paged image: unbounded and sparse, 64 × 64 pixel pages on a grid through (0, 0), negative coordinates included.
///
/// A missing page reads as the fill value and costs nothing. Pages are shared between images and copied by the first
/// write, so copying an image, or a snapshot for undo, is constant time and costs only the pages changed afterwards.
/// Reading never un-shares a page.
class PAINTLAYER_EXPORT ilMIOImage : public ilImage {
public:
    explicit ilMIOImage(const ilPixel& fill);
    ~ilMIOImage() override;

    ilMIOImage* AsPaged() override { return this; }
    const ilMIOImage* AsPaged() const override { return this; }

    /// The page-aligned box of the stored pages, or the tighter bounds that were set; empty when no page is stored.
    ilTile GetBounds() const override;
    void fillTile(const ilTile& tile, const ilPixel& value) override;

    /// Changes the value that unstored pixels have; stored pages keep theirs.
    void SetFillValue(const ilPixel& value);

    /// A further image with the same fill value and bounds that shares every page. Constant time.
    qs::Reference<ilMIOImage> Snapshot() const;

    /// Makes this image's pages over `area` those of `source`, shared; pages partly inside `area` are taken whole.
    /// Both images have the same number of channels, otherwise nothing happens.
    void ReferenceSeedPages(const ilMIOImage& source, const ilTile& area);

    /// Takes over everything that `source` stores (shared), its fill value and bounds.
    void ShareAllFrom(const ilMIOImage& source);

    /// Drops every page: all pixels have the fill value. Bounds become empty.
    void Clear();

    bool IsEmpty() const { return directory_ == nullptr || directory_->IsEmpty(); }

    /// Number of stored pages, and the bytes of pixel memory that they hold (shared ones included).
    size_t GetPageCount() const;
    size_t GetAllocatedBytes() const;

    /// The table of pages, which images share until one of them is written; null for none.
    const PageDirectory* GetDirectory() const { return directory_.get(); }

    // --- page access, for the imaging core's own algorithms; px, py are page coordinates ---

    PageReader ReadPage(int px, int py) const { return PageReader(FindPage(px, py)); }

    /// The page for writing: made from the fill value when missing, copied when shared. Throws std::bad_alloc with the
    /// image unchanged.
    PageWriter WritePage(int px, int py) { return PageWriter(PageForWriting(px, py)); }

    /// The same page without the pin, for a PageWriter made in place.
    Page* PageForWriting(int px, int py);

    /// As PageForWriting, for a caller that overwrites every pixel: what was stored is not read or copied.
    Page* PageForOverwriting(int px, int py);

    /// Stores a shared page, or drops the page when it is null.
    void SetPage(int px, int py, PagePtr page);
    PagePtr SharePage(int px, int py) const { return PagePtr(FindPage(px, py)); }

    /// Makes the page one value, without pixel memory; the fill value drops the page.
    void SetPageUniform(int px, int py, uint32_t packedValue);

    /// Calls visit(px, py, const Page&) for each stored page that meets `area` (pixels), row by row within a block.
    template <class Visitor>
    void VisitPages(const ilTile& area, Visitor&& visit) const;

    /// Calls visit(px, py, const Page* here, const Page* there) for each page that is not the very same shared one in
    /// both images (null: not stored), in no order. Costs the blocks of pages that differ. Fill values do not count.
    template <class Visitor>
    void VisitDifferentPages(const ilMIOImage& other, Visitor&& visit) const;

    /// What is known of all pixels of `tile` together, from what is known of the pages that it meets: Mixed when they
    /// differ, or when one of them is neither transparent nor opaque as a whole.
    PageContent GetContentOf(const ilTile& tile) const;

    /// True when the other image has the very same page stored here (or both miss it and fill alike).
    bool SharesPageWith(const ilMIOImage& other, int px, int py) const
    {
        return FindPage(px, py) == other.FindPage(px, py) && fill_ == other.fill_;
    }

protected:
    Page* FindPage(int px, int py) const
    {
        const int bx = px >> kBlockShift;
        const int by = py >> kBlockShift;
        if (cachedBlock_ == nullptr || bx != cachedX_ || by != cachedY_) {
            PageBlock* block = directory_ != nullptr ? directory_->Find(bx, by) : nullptr;
            if (block == nullptr)
                return nullptr;
            cachedBlock_ = block;
            cachedX_ = bx;
            cachedY_ = by;
            cachedIsPrivate_ = false;
        }
        return cachedBlock_->pages[PageBlock::SlotOf(px, py)].get();
    }

    ilTile bounds_;  // tighter than the pages when hasTightBounds_
    bool hasTightBounds_ = false;
    bool hasChanged_ = false;  // since it was last cleared, for whoever keeps something derived from the pages

private:
    PageBlock* BlockForWriting(int px, int py);
    PageDirectory& DirectoryForWriting();
    void ForgetCache() const { cachedBlock_ = nullptr; }
    void GrowTightBounds(const ilTile& pages);
    ilTile FillBlocks(const ilTile& tile, const PagePtr& uniform);
    void ClearBlocks(const ilTile& tile);
    void ClearTile(const ilTile& tile);
    void FillPagePart(int px, int py, const ilTile& part, uint32_t packed);

    qs::Reference<PageDirectory> directory_;
    mutable ilTile pageBounds_;  // page-aligned box of the stored pages
    mutable bool pageBoundsKnown_ = true;
    mutable PageBlock* cachedBlock_ = nullptr;  // the block looked up last; stale whenever the directory changes
    mutable int cachedX_ = 0;
    mutable int cachedY_ = 0;
    mutable bool cachedIsPrivate_ = false;  // the cached block may be written
};

template <class Visitor>
void ilMIOImage::VisitPages(const ilTile& area, Visitor&& visit) const
{
    if (directory_ == nullptr || area.IsEmpty())
        return;
    const int left = PageIndexOf(area.x);
    const int top = PageIndexOf(area.y);
    const int right = PageIndexOf(static_cast<int>(area.Right() - 1));
    const int bottom = PageIndexOf(static_cast<int>(area.Bottom() - 1));
    for (const PageDirectory::Slot& slot : directory_->GetSlots()) {
        if (!slot.block)
            continue;
        const int baseX = slot.bx * kBlockSize;
        const int baseY = slot.by * kBlockSize;
        const int y1 = std::min(bottom, baseY + kBlockSize - 1);
        const int x1 = std::min(right, baseX + kBlockSize - 1);
        for (int py = std::max(top, baseY); py <= y1; ++py)
            for (int px = std::max(left, baseX); px <= x1; ++px)
                if (const Page* page = slot.block->pages[PageBlock::SlotOf(px, py)].get())
                    visit(px, py, *page);
    }
}

template <class Visitor>
void ilMIOImage::VisitDifferentPages(const ilMIOImage& other, Visitor&& visit) const
{
    if (directory_ == other.directory_)
        return;
    const auto visitBlock = [&](int bx, int by, const PageBlock* here, const PageBlock* there) {
        for (int i = 0; here != there && i < kBlockPages; ++i) {
            const Page* mine = here != nullptr ? here->pages[i].get() : nullptr;
            const Page* theirs = there != nullptr ? there->pages[i].get() : nullptr;
            if (mine != theirs)
                visit(bx * kBlockSize + i % kBlockSize, by * kBlockSize + i / kBlockSize, mine, theirs);
        }
    };
    if (directory_ != nullptr)
        for (const PageDirectory::Slot& slot : directory_->GetSlots())
            if (slot.block)
                visitBlock(slot.bx, slot.by, slot.block.get(),
                           other.directory_ != nullptr ? other.directory_->Find(slot.bx, slot.by) : nullptr);
    if (other.directory_ != nullptr)
        for (const PageDirectory::Slot& slot : other.directory_->GetSlots())
            if (slot.block && (directory_ == nullptr || directory_->Find(slot.bx, slot.by) == nullptr))
                visitBlock(slot.bx, slot.by, nullptr, slot.block.get());
}
