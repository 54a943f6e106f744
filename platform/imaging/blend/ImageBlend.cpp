#include "platform/imaging/blend/ImageBlend.h"

#include "platform/imaging/blend/ImageConvert.h"
#include "platform/imaging/blend/RowBlender.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMIOImage.h"
#include "platform/imaging/pages/ilMemoryImg.h"

#include <cstring>
#include <optional>

namespace {

constexpr ptrdiff_t PageOffset(int x, int y, int channels)
{
    return (ptrdiff_t{PageOffsetOf(y)} * kPageSize + PageOffsetOf(x)) * channels;
}

/// Stores `count` times the value, one or four bytes each.
void FillPixels(uint8_t* row, const ilPixel& value, int count)
{
    const uint32_t packed = value.GetPacked();
    const size_t bytes = static_cast<size_t>(value.GetNumChannels());
    for (int x = 0; x < count; ++x)
        std::memcpy(row + static_cast<size_t>(x) * bytes, &packed, bytes);
}

/// Rows of a piece that lies within one page of both images.
struct Rows {
    uint8_t* target = nullptr;
    ptrdiff_t targetStride = 0;
    const uint8_t* source = nullptr;
    ptrdiff_t sourceStride = 0;
};

void BlendRows(const RowBlender& blender, const ImageBlend& blend, const ilTile& piece, Rows rows)
{
    uint8_t coverage[kPagePixels];
    if (blend.coverage != nullptr)
        blend.coverage->ReadTile(ilTileMoved(piece, -int64_t{blend.coverageX}, -int64_t{blend.coverageY}), coverage,
                                 kPageSize);
    for (int y = 0; y < piece.ny; ++y) {
        blender.Blend(rows.target, rows.source, blend.coverage != nullptr ? coverage + y * kPageSize : nullptr,
                      piece.nx);
        rows.target += rows.targetStride;
        rows.source += rows.sourceStride;
    }
}

/// One run of BlendImage: source pixel = target pixel + (dx, dy).
class ImageBlender {
public:
    ImageBlender(ilImage& target, const ilImage& source, int64_t dx, int64_t dy, const ImageBlend& blend)
        : target_(target), source_(source), dx_(dx), dy_(dy), blend_(blend), blender_(target.GetNumChannels(), blend),
          channels_(target.GetNumChannels()), keepsUnderZero_(blend.destinationFactor == kFactorOne ||
                                                              blend.destinationFactor == kFactorOneMinusSourceAlpha)
    {}

    void Run(ilTile tile)
    {
        if (target_.AsMemory() != nullptr)
            tile = ilTileIntersection(tile, target_.GetBounds());
        const ilMIOImage* paged = source_.AsPaged();
        if (paged == nullptr) {
            if (keepsUnderZero_)
                tile = ilTileIntersection(tile, ilTileMoved(source_.GetBounds(), -dx_, -dy_));
            ForEachPage(tile, [&](int, int, const ilTile& part) { BlendUnpaged(part); });
        } else if (keepsUnderZero_ && source_.GetFillValue().GetPacked() == 0) {
            // Only stored pages can change anything: the cost is that of the pages, not of the tile.
            const ilTile sourceTile = ilTileMoved(tile, dx_, dy_);
            paged->VisitPages(sourceTile, [&](int px, int py, const Page& page) {
                const ilTile inSource = ilTileIntersection(PageTile(px, py), sourceTile);
                ForEachPage(ilTileMoved(inSource, -dx_, -dy_),
                            [&](int, int, const ilTile& piece) { BlendPiece(piece, &page); });
            });
        } else {
            ForEachPage(tile, [&](int, int, const ilTile& part) {
                ForEachPieceOf(part, dx_, dy_, [&](const ilTile& piece, int px, int py) {
                    const PageReader page = paged->ReadPage(px, py);
                    if (page.IsMissing())
                        BlendUnpaged(piece);
                    else
                        BlendPiece(piece, page.GetPage());
                });
            });
        }
    }

private:
    /// A piece whose source rows are fetched into a scratch block: memory images and missing pages.
    void BlendUnpaged(const ilTile& piece)
    {
        uint8_t scratch[kPagePixels * 4];
        const ptrdiff_t stride = ptrdiff_t{kPageSize} * channels_;
        source_.ReadTile(ilTileMoved(piece, dx_, dy_), scratch, stride);
        BlendInto(piece, scratch, stride);
    }

    void BlendPiece(const ilTile& piece, const Page* page)
    {
        const PageContent content = page->GetContent();
        if (content == PageContent::Transparent && keepsUnderZero_)
            return;
        if (TrySharing(piece, page, content) || TrySettling(piece, content))
            return;
        BlendInto(piece,
                  page->GetBytes() +
                      PageOffset(static_cast<int>(piece.x + dx_), static_cast<int>(piece.y + dy_), channels_),
                  page->GetStrideBytes());
    }

    /// A whole page that ends up as the source's is shared instead of blended.
    bool TrySharing(const ilTile& piece, const Page* page, PageContent content)
    {
        ilMIOImage* target = target_.AsPaged();
        const bool isWholePage = piece.nx == kPageSize && piece.ny == kPageSize && ((dx_ | dy_) & (kPageSize - 1)) == 0;
        if (target == nullptr || !isWholePage || !(blend_.IsPlainCopy() || IsFullOver()))
            return false;
        const int px = PageIndexOf(piece.x);
        const int py = PageIndexOf(piece.y);
        if (!blend_.IsPlainCopy() && content != PageContent::Opaque) {
            const PageReader below = target->ReadPage(px, py);
            const bool isClear = below.IsMissing() ? target->GetFillValue().GetPacked() == 0
                                                   : below.GetPage()->GetContent() == PageContent::Transparent;
            if (!isClear)
                return false;
        }
        target->SetPage(px, py, PagePtr(const_cast<Page*>(page)));  // sharing counts it, nobody writes it
        return true;
    }

    /// Coverage that no addition can raise, or no subtraction lower, stays; a whole page that is erased is dropped.
    bool TrySettling(const ilTile& piece, PageContent content)
    {
        ilMIOImage* target = target_.AsPaged();
        const bool erases = blend_.IsPlainErase();
        if (target == nullptr || channels_ != 1 || !(erases || blend_.IsPlainOver()))
            return false;
        const int px = PageIndexOf(piece.x);
        const int py = PageIndexOf(piece.y);
        if (target->GetContentOf(piece) == (erases ? PageContent::Transparent : PageContent::Opaque))
            return true;
        const bool isWholePage = piece.nx == kPageSize && piece.ny == kPageSize;
        if (content != PageContent::Opaque || !isWholePage || blend_.alphaWeight != kernels::kFullWeight)
            return false;
        target->SetPageUniform(px, py, erases ? 0 : 255);
        return true;
    }

    bool IsFullOver() const { return blend_.IsPlainOver() && blend_.alphaWeight == kernels::kFullWeight; }

    /// Whatever the source has: the coverage leaves nothing of it, or there is nothing to erase.
    bool ChangesNothing(const ilMIOImage& target, const ilTile& piece) const
    {
        if (blend_.coverage != nullptr &&
            blend_.coverage->GetContentOf(ilTileMoved(piece, -int64_t{blend_.coverageX}, -int64_t{blend_.coverageY})) ==
                PageContent::Transparent)
            return true;
        return blend_.IsPlainErase() && target.GetFillValue().GetPacked() == 0 &&
               target.ReadPage(PageIndexOf(piece.x), PageIndexOf(piece.y)).IsMissing();
    }

    void BlendInto(const ilTile& piece, const uint8_t* source, ptrdiff_t sourceStride)
    {
        if (ilMIOImage* target = target_.AsPaged()) {
            if (ChangesNothing(*target, piece))
                return;
            const PageWriter writer = target->WritePage(PageIndexOf(piece.x), PageIndexOf(piece.y));
            BlendRows(blender_, blend_, piece,
                      {writer.GetBytes() + PageOffset(piece.x, piece.y, channels_), ptrdiff_t{kPageSize} * channels_,
                       source, sourceStride});
            return;
        }
        ilMemoryImg& memory = *target_.AsMemory();
        BlendRows(blender_, blend_, piece, {memory.WriteRows(piece), memory.GetStrideBytes(), source, sourceStride});
    }

    ilImage& target_;
    const ilImage& source_;
    int64_t dx_;
    int64_t dy_;
    const ImageBlend& blend_;
    RowBlender blender_;
    int channels_;
    bool keepsUnderZero_;  // zero source pixels change nothing
};

/// Runs `work(targetRow, stride, piece, coveragePage or null)` on each piece of the target that stored coverage meets.
template <class Work>
void ForEachCoveredPiece(const ilTile& tile, const ilImage& coverage, int64_t dx, int64_t dy, Work&& work)
{
    const ilMIOImage* paged = coverage.AsPaged();
    if (paged != nullptr && coverage.GetFillValue().GetPacked() == 0) {
        const ilTile inCoverage = ilTileMoved(tile, dx, dy);
        paged->VisitPages(inCoverage, [&](int px, int py, const Page& page) {
            if (page.GetContent() != PageContent::Transparent)
                ForEachPage(ilTileMoved(ilTileIntersection(PageTile(px, py), inCoverage), -dx, -dy),
                            [&](int, int, const ilTile& piece) { work(piece); });
        });
        return;
    }
    ForEachPage(tile, [&](int, int, const ilTile& piece) { work(piece); });
}

}  // namespace

void BlendImage(ilImage& target, const ilTile& tile, const ilImage& source, int sourceX, int sourceY,
                const ImageBlend& blend)
{
    if (target.GetNumChannels() != source.GetNumChannels() || tile.IsEmpty())
        return;
    if (blend.IsPlainCopy()) {
        target.copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, source, sourceX, sourceY, 0);
        return;
    }
    ImageBlender(target, source, int64_t{sourceX} - tile.x, int64_t{sourceY} - tile.y, blend).Run(tile);
}

void BlendColorThrough(ilImage& target, const ilTile& tile, const ilImage& coverage, int coverageX, int coverageY,
                       const ilPixel& color, kernels::Weight weight)
{
    if (target.GetNumChannels() != 4 || coverage.GetNumChannels() != 1 || weight == 0)
        return;
    const int64_t dx = int64_t{coverageX} - tile.x;
    const int64_t dy = int64_t{coverageY} - tile.y;
    ImageBlend blend;
    blend.alphaWeight = weight;
    const RowBlender blender(4, blend);
    uint8_t colorRow[kPageSize * 4];
    FillPixels(colorRow, color, kPageSize);
    const ilTile inside = target.AsMemory() != nullptr ? ilTileIntersection(tile, target.GetBounds()) : tile;
    ForEachCoveredPiece(inside, coverage, dx, dy, [&](const ilTile& piece) {
        uint8_t rows[kPagePixels];
        coverage.ReadTile(ilTileMoved(piece, dx, dy), rows, kPageSize);
        std::optional<PageWriter> writer;
        Rows out;
        if (ilMIOImage* paged = target.AsPaged()) {
            writer.emplace(paged->PageForWriting(PageIndexOf(piece.x), PageIndexOf(piece.y)));
            out = {writer->GetBytes() + PageOffset(piece.x, piece.y, 4), ptrdiff_t{kPageSize} * 4, nullptr, 0};
        } else {
            out = {target.AsMemory()->WriteRows(piece), target.AsMemory()->GetStrideBytes(), nullptr, 0};
        }
        for (int y = 0; y < piece.ny; ++y, out.target += out.targetStride)
            blender.Blend(out.target, colorRow, rows + y * kPageSize, piece.nx);
    });
}

void HideThrough(ilMIOImage& target, const ilTile& tile, const ilMIOImage& coverage, int coverageX, int coverageY,
                 kernels::Weight weight)
{
    if (coverage.GetNumChannels() != 1 || weight == 0)
        return;
    const int64_t dx = int64_t{coverageX} - tile.x;
    const int64_t dy = int64_t{coverageY} - tile.y;
    const int channels = target.GetNumChannels();
    const kernels::KernelTable& table = kernels::Get();
    const auto hideWithin = [&](int px, int py, const ilTile& part) {
        const PageContent covered = ContentOver(coverage, ilTileMoved(part, dx, dy));
        if (covered == PageContent::Transparent || ContentOver(target, part) == PageContent::Transparent)
            return;
        if (covered == PageContent::Opaque && weight == kernels::kFullWeight) {
            target.fillTile(part, ilPixel(kUnsignedByte, channels));
            return;
        }
        uint8_t rows[kPagePixels];
        coverage.ReadTile(ilTileMoved(part, dx, dy), rows, kPageSize);
        const PageWriter writer = target.WritePage(px, py);
        uint8_t* out = writer.GetBytes() + PageOffset(part.x, part.y, channels);
        for (int y = 0; y < part.ny; ++y, out += ptrdiff_t{kPageSize} * channels) {
            if (channels == 4)
                table.eraseCoverage(out, rows + y * kPageSize, weight, part.nx);
            else
                table.eraseWeighted1(out, rows + y * kPageSize, weight, part.nx);
        }
    };
    if (target.GetFillValue().GetPacked() != 0) {
        ForEachPage(tile, hideWithin);
        return;
    }
    // What is not stored and reads as zero has nothing to hide.
    qs::vector<std::pair<int, int>> stored;
    target.VisitPages(tile, [&](int px, int py, const Page&) { stored.emplace_back(px, py); });
    for (const auto& [px, py] : stored)
        hideWithin(px, py, ilTileIntersection(tile, PageTile(px, py)));
}

void FillThrough(ilMIOImage& target, const ilTile& tile, const ilPixel& value, const ilMIOImage& coverage,
                 int coverageX, int coverageY)
{
    const int channels = target.GetNumChannels();
    if (value.GetNumChannels() != channels || coverage.GetNumChannels() != 1 || tile.IsEmpty())
        return;
    const int64_t dx = int64_t{coverageX} - tile.x;
    const int64_t dy = int64_t{coverageY} - tile.y;
    ImageBlend copy;
    copy.destinationFactor = kFactorZero;
    const RowBlender blender(channels, copy);
    uint8_t row[kPageSize * 4];
    FillPixels(row, value, kPageSize);
    const bool isFillValue = value == target.GetFillValue();
    const PagePtr whole = isFillValue ? PagePtr() : PagePtr(Page::NewUniform(channels, value.GetPacked()));
    const bool isSparse = coverage.GetFillValue().GetPacked() == 0;
    const ilTile reach = isSparse ? ilTileIntersection(tile, ilTileMoved(coverage.GetBounds(), -dx, -dy)) : tile;
    ForEachPage(reach, [&](int px, int py, const ilTile& part) {
        const ilTile inCoverage = ilTileMoved(part, dx, dy);
        const PageContent content = coverage.GetContentOf(inCoverage);
        if (content == PageContent::Transparent)
            return;
        if (content == PageContent::Opaque) {
            if (part.nx == kPageSize && part.ny == kPageSize)
                target.SetPage(px, py, whole);
            else
                target.fillTile(part, value);
            return;
        }
        uint8_t covered[kPagePixels];
        coverage.ReadTile(inCoverage, covered, kPageSize);
        const PageWriter writer = target.WritePage(px, py);
        uint8_t* out = writer.GetBytes() + PageOffset(part.x, part.y, channels);
        for (int y = 0; y < part.ny; ++y, out += ptrdiff_t{kPageSize} * channels)
            blender.Blend(out, row, covered + y * kPageSize, part.nx);
    });
}
