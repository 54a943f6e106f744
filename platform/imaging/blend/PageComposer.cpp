#include "platform/imaging/blend/PageComposer.h"

#include "platform/imaging/blend/RowBlender.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/os/Parallel.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr int kChannels = 4;
constexpr ptrdiff_t kStride = ptrdiff_t{kPageSize} * kChannels;
constexpr size_t kJobsAtOnce = 2048;  // what is kept between two flushes
constexpr int kJobsPerPiece = 8;
constexpr int kSourcesPerPass = kernels::kMostSourcesComposed;
constexpr int kFineSourcesPerPass = kernels::kMostSourcesComposedFine;

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

/// Whether unstored pixels show.
bool HasFill(const CompositeSource& source)
{
    return source.image->GetFillValue().GetPacked() != 0;
}

/// Whether anything but transparency may be stored within `area` (the image's pixels).
bool HasPixels(const ilMIOImage& image, const ilTile& area)
{
    bool has = image.GetFillValue().GetPacked() != 0;
    if (!has)
        ForEachPage(area, [&](int px, int py, const ilTile&) {
            const PageReader page = image.ReadPage(px, py);
            has = has || (!page.IsMissing() && page.GetPage()->GetContent() != PageContent::Transparent);
        });
    return has;
}

bool HasStencil(const CompositeSource& source, const ilTile& part)
{
    return source.stencil != nullptr &&
           HasPixels(*source.stencil, ilTileMoved(part, -int64_t{source.stencilX}, -int64_t{source.stencilY}));
}

void CopyRows(uint8_t* out, ptrdiff_t outStride, const uint8_t* in, const ilTile& part)
{
    for (int y = 0; y < part.ny; ++y, out += outStride, in += kStride)
        std::memcpy(out, in, static_cast<size_t>(part.nx) * kChannels);
}

void FillRows(uint8_t* out, uint8_t value, const ilTile& part)
{
    for (int y = 0; y < part.ny; ++y, out += kStride)
        std::memset(out, value, static_cast<size_t>(part.nx) * kChannels);
}

void HideByStencil(const CompositeSource& source, uint8_t* rows, const ilTile& part)
{
    uint8_t coverage[kPagePixels];
    source.stencil->ReadTile(ilTileMoved(part, -int64_t{source.stencilX}, -int64_t{source.stencilY}), coverage,
                             kPageSize);
    const auto hide = kernels::Get().eraseCoverage;
    for (int y = 0; y < part.ny; ++y)
        hide(rows + y * kStride, coverage + y * kPageSize, kernels::kFullWeight, part.nx);
}

/// compose(byte offset of the piece, pixels) for every piece of the part's rows that lies in one stretch.
template <class Compose>
void ForRows(const ilTile& part, Compose&& compose)
{
    if (part.nx == kPageSize)
        compose(0, part.nx * part.ny);
    else
        for (int y = 0; y < part.ny; ++y)
            compose(y * kStride, part.nx);
}

/// Rows of a page from rows of pages: the first, with the others painted over it.
void ComposeRows(uint8_t* out, const uint8_t* const* in, int count, const ilTile& part)
{
    const auto compose = kernels::Get().composeOver;
    ForRows(part, [&](ptrdiff_t at, int pixels) {
        std::array<const uint8_t*, kSourcesPerPass> row{};
        for (int i = 0; i < count; ++i)
            row[static_cast<size_t>(i)] = in[i] + at;
        compose(out + at, row.data(), count, pixels);
    });
}

/// The same, fine. fractions, topFractions: of the first and the last of them, or null; outFractions: null when nobody
/// asks for them.
void ComposeFineRows(uint8_t* out, uint8_t* outFractions, const uint8_t* const* in, const uint8_t* fractions,
                     const uint8_t* topFractions, int count, const ilTile& part)
{
    const auto compose = kernels::Get().composeFine;
    ForRows(part, [&](ptrdiff_t at, int pixels) {
        std::array<const uint8_t*, kFineSourcesPerPass> row{};
        for (int i = 0; i < count; ++i)
            row[static_cast<size_t>(i)] = in[i] + at;
        compose(out + at, outFractions != nullptr ? outFractions + at : nullptr, row.data(),
                fractions != nullptr ? fractions + at : nullptr, topFractions != nullptr ? topFractions + at : nullptr,
                count, pixels);
    });
}

RowBlender BlenderOf(const CompositeSource& source)
{
    ImageBlend blend;
    blend.mode = source.mode;
    blend.alphaWeight = source.weight;
    return RowBlender(kChannels, blend);
}

/// Calls use(rows) with the part of a source in rows of a page: those of its own page where it has one that lines up
/// and nothing is hidden, else a copy.
template <class Use>
void WithRows(const CompositeSource& source, const Page* page, bool hasStencil, const ilTile& part, Use&& use)
{
    if (page != nullptr && !hasStencil) {
        use(page->GetBytes() + PageOffset(part.x, part.y));
        return;
    }
    alignas(64) uint8_t rows[kPagePixels * kChannels];
    source.image->ReadTile(ilTileMoved(part, -int64_t{source.x}, -int64_t{source.y}), rows, kStride);
    if (hasStencil)
        HideByStencil(source, rows, part);
    use(rows);
}

}  // namespace

PageComposer::PageComposer(const qs::vector<CompositeSource>& sources, ilMIOImage* fractions, bool isDeferring)
    : sources_(sources), fractions_(fractions), isDeferring_(isDeferring)
{
    active_.reserve(sources.size());
}

/// Whether the source is one page taken as it is.
bool PageComposer::IsCopy(const PageSource& entry)
{
    return entry.page != nullptr && IsPlain(*entry.source) && !entry.hasStencil;
}

bool PageComposer::IsPlainCopy(const PageSource& entry)
{
    return IsCopy(entry) && entry.fractions == nullptr;
}

/// The sources that show within `part`, bottom to top, from the topmost one that hides all below it.
void PageComposer::Gather(int px, int py, const ilTile& part)
{
    active_.clear();
    for (size_t i = sources_.size(); i-- > 0;) {
        const CompositeSource& source = sources_[i];
        if (source.weight == 0)
            continue;
        PageSource entry{&source, nullptr, nullptr, HasStencil(source, part)};
        if (IsAligned(source)) {
            const int x = px - (source.x >> kPageShift);
            const int y = py - (source.y >> kPageShift);
            entry.page = source.image->ReadPage(x, y).GetPage();
            if (source.fractions != nullptr)
                entry.fractions = source.fractions->ReadPage(x, y).GetPage();
            const bool isMissing = entry.page == nullptr;
            if (isMissing ? !HasFill(source) : entry.page->GetContent() == PageContent::Transparent)
                continue;
        } else if (!HasPixels(*source.image, ilTileMoved(part, -int64_t{source.x}, -int64_t{source.y}))) {
            continue;
        }
        active_.push_back(entry);
        if (IsCopy(entry) && entry.page->GetContent() == PageContent::Opaque &&
            (entry.fractions == nullptr || entry.fractions->GetContent() == PageContent::Opaque))
            break;
    }
    std::reverse(active_.begin(), active_.end());
}

/// The page that is the whole result; null when there is something to blend.
const Page* PageComposer::GetOnlyPage() const
{
    return active_.size() == 1 && IsCopy(active_.front()) ? active_.front().page : nullptr;
}

/// Whether what is to be drawn may not come out as whole bytes.
bool PageComposer::LeavesFractions() const
{
    return active_.back().source->isFine && (active_.size() > 1 || !IsPlainCopy(active_.front()));
}

void PageComposer::ComposeInto(ilMIOImage& target, int px, int py, const ilTile& part)
{
    Gather(px, py, part);
    if (active_.empty()) {
        target.fillTile(part, ilPixel());
        if (fractions_ != nullptr)
            fractions_->fillTile(part, kWholeLevels);
        return;
    }
    const bool isWhole = part.nx == kPageSize && part.ny == kPageSize;
    if (const Page* only = GetOnlyPage(); only != nullptr && isWhole) {
        target.SetPage(px, py, PagePtr(const_cast<Page*>(only)));  // shared: nobody writes it
        if (fractions_ != nullptr)
            fractions_->SetPage(px, py, PagePtr(const_cast<Page*>(active_.front().fractions)));
        return;
    }
    Job job;
    job.part = part;
    const auto pageOf = [&](ilMIOImage& image) {
        Page* page = isWhole ? image.PageForOverwriting(px, py) : image.PageForWriting(px, py);
        writers_.emplace_back(page);
        return page;
    };
    if (fractions_ != nullptr && LeavesFractions()) {
        job.fractionsPage = pageOf(*fractions_);
        job.fractions = writers_.back().GetBytes() + PageOffset(part.x, part.y);
        ++job.pages;
    } else if (fractions_ != nullptr) {
        fractions_->fillTile(part, kWholeLevels);
    }
    job.page = pageOf(target);
    job.rows = writers_.back().GetBytes() + PageOffset(part.x, part.y);
    ++job.pages;
    Take(job);
}

void PageComposer::ComposeInto(ilMemoryImg& target, int px, int py, const ilTile& part)
{
    Gather(px, py, part);
    if (active_.empty()) {
        target.fillTile(part, ilPixel());
        return;
    }
    Job job;
    job.part = part;
    job.rows = target.WriteRows(part);
    job.stride = target.GetStrideBytes();
    Take(job);
}

/// Draws the active sources now or keeps them.
void PageComposer::Take(Job job)
{
    job.firstSource = kept_.size();
    kept_.insert(kept_.end(), active_.begin(), active_.end());
    job.sourceEnd = kept_.size();
    jobs_.push_back(job);
    // Reading through an image's directory is for the calling thread alone.
    const bool isOnePageEach = std::all_of(active_.begin(), active_.end(), [](const PageSource& entry) {
        return entry.page != nullptr && !entry.hasStencil;
    });
    if (isDeferring_ && isOnePageEach) {
        for (const PageSource& entry : active_) {
            entry.page->GetBytes();  // a uniform page makes its pixels now, not in two threads at once
            if (entry.fractions != nullptr)
                entry.fractions->GetBytes();
        }
        if (jobs_.size() >= kJobsAtOnce)
            Flush();
        return;
    }
    Draw(job);
    jobs_.pop_back();
    kept_.resize(job.firstSource);
    for (int i = 0; i < job.pages; ++i)
        writers_.pop_back();
}

void PageComposer::Flush()
{
    ParallelFor(static_cast<int>(jobs_.size()), kJobsPerPiece, [this](int begin, int end) {
        for (int i = begin; i < end; ++i)
            Draw(jobs_[static_cast<size_t>(i)]);
    });
    jobs_.clear();
    kept_.clear();
    writers_.clear();
}

void PageComposer::Draw(const Job& job) const
{
    if (job.page != nullptr) {
        DrawSources(job, job.rows);
        job.page->GetContent();  // the next composite asks; now the pixels are at hand
        if (job.fractionsPage != nullptr)
            job.fractionsPage->GetContent();
        return;
    }
    // Through a page that stays in the cache.
    alignas(64) uint8_t scratch[kPagePixels * kChannels];
    uint8_t* rows = scratch + PageOffset(job.part.x, job.part.y);
    const PageSource& first = kept_[job.firstSource];
    if (job.sourceEnd - job.firstSource == 1 && IsCopy(first)) {
        CopyRows(job.rows, job.stride, first.page->GetBytes() + PageOffset(job.part.x, job.part.y), job.part);
        return;
    }
    DrawSources(job, rows);
    CopyRows(job.rows, job.stride, rows, job.part);
}

/// Blends the sources into `out`, rows of a page.
void PageComposer::DrawSources(const Job& job, uint8_t* out) const
{
    alignas(64) uint8_t scratch[kPagePixels * kChannels];
    Sum sum{job.part, out, job.fractions != nullptr ? job.fractions : scratch + PageOffset(job.part.x, job.part.y)};
    const size_t fine = DrawSequential(job, sum);
    if (fine < job.sourceEnd)
        DrawFine(job, fine, sum);
}

/// Those that are rounded one by one; returns the position of the first fine one. Neighbours that are taken as they are
/// go in one pass.
size_t PageComposer::DrawSequential(const Job& job, Sum& sum) const
{
    const ptrdiff_t offset = PageOffset(job.part.x, job.part.y);
    size_t i = job.firstSource;
    while (i < job.sourceEnd && !kept_[i].source->isFine) {
        std::array<const uint8_t*, kSourcesPerPass> in{};
        int count = 0;
        if (sum.isBegun)
            in[static_cast<size_t>(count++)] = sum.rows;
        for (; i < job.sourceEnd && count < kSourcesPerPass && !kept_[i].source->isFine && IsCopy(kept_[i]); ++i)
            in[static_cast<size_t>(count++)] = kept_[i].page->GetBytes() + offset;
        if (count > (sum.isBegun ? 1 : 0)) {
            ComposeRows(sum.rows, in.data(), count, job.part);
        } else {
            if (!sum.isBegun)
                FillRows(sum.rows, 0, job.part);
            const PageSource& entry = kept_[i++];
            const RowBlender blender = BlenderOf(*entry.source);
            WithRows(*entry.source, entry.page, entry.hasStencil, job.part, [&](const uint8_t* rows) {
                ForRows(job.part,
                        [&](ptrdiff_t at, int pixels) { blender.Blend(sum.rows + at, rows + at, nullptr, pixels); });
            });
        }
        sum.isBegun = true;
    }
    return i;
}

void PageComposer::DrawFine(const Job& job, size_t first, Sum& sum) const
{
    const ptrdiff_t offset = PageOffset(job.part.x, job.part.y);
    for (size_t i = first; i < job.sourceEnd;) {
        std::array<const uint8_t*, kFineSourcesPerPass> in{};
        const uint8_t* fractions = nullptr;
        int count = 0;
        if (sum.isBegun) {
            in[static_cast<size_t>(count++)] = sum.rows;
            fractions = sum.hasFractions ? sum.fractions : nullptr;
        } else if (IsCopy(kept_[i])) {
            const PageSource& entry = kept_[i++];
            in[static_cast<size_t>(count++)] = entry.page->GetBytes() + offset;
            fractions = entry.fractions != nullptr ? entry.fractions->GetBytes() + offset : nullptr;
        }
        const bool wasBegun = sum.isBegun;
        for (; count > 0 && i < job.sourceEnd && count < kFineSourcesPerPass && IsPlainCopy(kept_[i]); ++i)
            in[static_cast<size_t>(count++)] = kept_[i].page->GetBytes() + offset;
        const uint8_t* topFractions = nullptr;
        if (count > 0 && i < job.sourceEnd && count < kFineSourcesPerPass && IsCopy(kept_[i]) &&
            !IsPlainCopy(kept_[i])) {
            topFractions = kept_[i].fractions->GetBytes() + offset;
            in[static_cast<size_t>(count++)] = kept_[i++].page->GetBytes() + offset;
        }
        if (count > (wasBegun ? 1 : 0)) {
            const bool isWanted = job.fractions != nullptr || i < job.sourceEnd;
            ComposeFineRows(sum.rows, isWanted ? sum.fractions : nullptr, in.data(), fractions, topFractions, count,
                            job.part);
        } else {
            if (!wasBegun)
                FillRows(sum.rows, 0, job.part);
            if (!sum.hasFractions)
                FillRows(sum.fractions, 255, job.part);
            PaintFine(kept_[i++], sum);
        }
        sum.isBegun = sum.hasFractions = true;
    }
}

/// One source that is not taken as it is; such a one has no fractions.
void PageComposer::PaintFine(const PageSource& entry, Sum& sum)
{
    const kernels::KernelTable& table = kernels::Get();
    const kernels::Weight weight = entry.source->weight;
    WithRows(*entry.source, entry.page, entry.hasStencil, sum.part, [&](const uint8_t* rows) {
        if (weight == kernels::kFullWeight) {
            const uint8_t* const in[] = {sum.rows, rows};
            ComposeFineRows(sum.rows, sum.fractions, in, sum.fractions, nullptr, 2, sum.part);
            return;
        }
        ForRows(sum.part, [&](ptrdiff_t at, int pixels) {
            table.paintFineWeighted(sum.rows + at, sum.fractions + at, rows + at, weight, pixels);
        });
    });
}
