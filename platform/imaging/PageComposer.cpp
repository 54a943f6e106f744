#include "platform/imaging/PageComposer.h"

#include "platform/imaging/PageWalk.h"
#include "platform/imaging/RowBlender.h"
#include "platform/imaging/ilMemoryImg.h"
#include "platform/imaging/kernels/Kernels.h"
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

void ClearRows(uint8_t* out, const ilTile& part)
{
    for (int y = 0; y < part.ny; ++y, out += kStride)
        std::memset(out, 0, static_cast<size_t>(part.nx) * kChannels);
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

/// Rows of a page from rows of pages: the first, with the others painted over it.
void ComposeRows(uint8_t* out, const uint8_t* const* in, int count, const ilTile& part)
{
    const auto compose = kernels::Get().composeOver;
    if (part.nx == kPageSize) {
        compose(out, in, count, part.nx * part.ny);
        return;
    }
    std::array<const uint8_t*, kSourcesPerPass> row{};
    std::copy_n(in, count, row.begin());
    for (int y = 0; y < part.ny; ++y, out += kStride) {
        compose(out, row.data(), count, part.nx);
        for (const uint8_t*& source : row)
            source += kStride;
    }
}

RowBlender BlenderOf(const CompositeSource& source)
{
    ImageBlend blend;
    blend.mode = source.mode;
    blend.alphaWeight = source.weight;
    return RowBlender(kChannels, blend);
}

/// Blends pixels of one page, in rows of the page, into rows of the target.
void BlendPage(const CompositeSource& source, const uint8_t* in, uint8_t* out, const ilTile& part)
{
    const RowBlender blender = BlenderOf(source);
    if (part.nx == kPageSize) {
        blender.Blend(out, in, nullptr, part.nx * part.ny);
        return;
    }
    for (int y = 0; y < part.ny; ++y, out += kStride, in += kStride)
        blender.Blend(out, in, nullptr, part.nx);
}

/// The same for a source whose pages do not line up or whose stencil hides something.
void BlendTile(const CompositeSource& source, bool hasStencil, uint8_t* out, const ilTile& part)
{
    alignas(64) uint8_t rows[kPagePixels * kChannels];
    source.image->ReadTile(ilTileMoved(part, -int64_t{source.x}, -int64_t{source.y}), rows, kStride);
    if (hasStencil)
        HideByStencil(source, rows, part);
    const RowBlender blender = BlenderOf(source);
    for (int y = 0; y < part.ny; ++y, out += kStride)
        blender.Blend(out, rows + y * kStride, nullptr, part.nx);
}

}  // namespace

PageComposer::PageComposer(const qs::vector<CompositeSource>& sources, bool isDeferring)
    : sources_(sources), isDeferring_(isDeferring)
{
    active_.reserve(sources.size());
}

/// Whether the source is one page taken as it is.
bool PageComposer::IsCopy(const PageSource& entry)
{
    return entry.page != nullptr && IsPlain(*entry.source) && !entry.hasStencil;
}

/// The sources that show within `part`, bottom to top, from the topmost one that hides all below it.
void PageComposer::Gather(int px, int py, const ilTile& part)
{
    active_.clear();
    for (size_t i = sources_.size(); i-- > 0;) {
        const CompositeSource& source = sources_[i];
        if (source.weight == 0)
            continue;
        PageSource entry{&source, nullptr, HasStencil(source, part)};
        if (IsAligned(source)) {
            entry.page = source.image->ReadPage(px - (source.x >> kPageShift), py - (source.y >> kPageShift)).GetPage();
            const bool isMissing = entry.page == nullptr;
            if (isMissing ? !HasFill(source) : entry.page->GetContent() == PageContent::Transparent)
                continue;
        } else if (!HasPixels(*source.image, ilTileMoved(part, -int64_t{source.x}, -int64_t{source.y}))) {
            continue;
        }
        active_.push_back(entry);
        if (IsCopy(entry) && entry.page->GetContent() == PageContent::Opaque)
            break;
    }
    std::reverse(active_.begin(), active_.end());
}

/// The page that is the whole result; null when there is something to blend.
const Page* PageComposer::GetOnlyPage() const
{
    return active_.size() == 1 && IsCopy(active_.front()) ? active_.front().page : nullptr;
}

void PageComposer::ComposeInto(ilMIOImage& target, int px, int py, const ilTile& part)
{
    Gather(px, py, part);
    if (active_.empty()) {
        target.fillTile(part, ilPixel());
        return;
    }
    const bool isWhole = part.nx == kPageSize && part.ny == kPageSize;
    if (const Page* only = GetOnlyPage(); only != nullptr && isWhole) {
        target.SetPage(px, py, PagePtr(const_cast<Page*>(only)));  // shared: nobody writes it
        return;
    }
    Job job;
    job.part = part;
    job.page = isWhole ? target.PageForOverwriting(px, py) : target.PageForWriting(px, py);
    writers_.emplace_back(job.page);
    job.rows = writers_.back().GetBytes() + PageOffset(part.x, part.y);
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
        for (const PageSource& entry : active_)
            entry.page->GetBytes();  // a uniform page makes its pixels now, not in two threads at once
        if (jobs_.size() >= kJobsAtOnce)
            Flush();
        return;
    }
    Draw(job);
    jobs_.pop_back();
    kept_.resize(job.firstSource);
    if (job.page != nullptr)
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

/// Blends the sources into `out`, rows of a page. Neighbours that are taken as they are go in one pass.
void PageComposer::DrawSources(const Job& job, uint8_t* out) const
{
    const ptrdiff_t offset = PageOffset(job.part.x, job.part.y);
    bool isBegun = false;
    for (size_t i = job.firstSource; i < job.sourceEnd;) {
        std::array<const uint8_t*, kSourcesPerPass> in{};
        int count = 0;
        if (isBegun)
            in[static_cast<size_t>(count++)] = out;
        for (; i < job.sourceEnd && count < kSourcesPerPass && IsCopy(kept_[i]); ++i)
            in[static_cast<size_t>(count++)] = kept_[i].page->GetBytes() + offset;
        if (count > (isBegun ? 1 : 0)) {
            ComposeRows(out, in.data(), count, job.part);
        } else {
            if (!isBegun)
                ClearRows(out, job.part);
            const PageSource& entry = kept_[i++];
            if (entry.page != nullptr && !entry.hasStencil)
                BlendPage(*entry.source, entry.page->GetBytes() + offset, out, job.part);
            else
                BlendTile(*entry.source, entry.hasStencil, out, job.part);
        }
        isBegun = true;
    }
}
