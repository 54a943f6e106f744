#include "platform/imaging/regions/FloodRegion.h"

FloodRegion::Cell& FloodRegion::Reach(int px, int py, Cover cover)
{
    Cell& cell = cells_.At(px, py);
    cell.cover = cover;
    cell.bits = nullptr;
    cell.coverage = nullptr;
    pageBounds_ = ilTileUnion(pageBounds_, PageTile(px, py));
    isEmpty_ = false;
    return cell;
}

void FloodRegion::SetPageAll(int px, int py)
{
    Reach(px, py, Cover::All);
}

void FloodRegion::SetPageBits(int px, int py, std::unique_ptr<PageBits> bits)
{
    Reach(px, py, Cover::Some).bits = std::move(bits);
}

void FloodRegion::SetPageCoverage(int px, int py, std::unique_ptr<std::array<uint8_t, kPagePixels>> coverage)
{
    Reach(px, py, Cover::Some).coverage = std::move(coverage);
}

void FloodRegion::ReadRow(const Cell& cell, int y, uint8_t* row)
{
    if (cell.coverage)
        std::memcpy(row, cell.coverage->data() + y * kPageSize, kPageSize);
    else if (cell.bits)
        BitsToCoverage((*cell.bits)[static_cast<size_t>(y)], row);
    else
        std::memset(row, cell.cover == Cover::All ? 255 : 0, kPageSize);
}

uint64_t FloodRegion::ReachedInRow(const Cell& cell, int y)
{
    if (cell.bits)
        return (*cell.bits)[static_cast<size_t>(y)];
    uint64_t reached = 0;
    for (int x = 0; x < kPageSize; ++x)
        reached |= uint64_t{(*cell.coverage)[static_cast<size_t>(y * kPageSize + x)] != 0} << x;
    return reached;
}

ilTile FloodRegion::GetBounds() const
{
    ilTile bounds;
    cells_.ForEach([&](int px, int py, const Cell& cell) {
        const ilTile page = PageTile(px, py);
        if (cell.cover == Cover::All)
            bounds = ilTileUnion(bounds, page);
        if (cell.cover != Cover::Some || bounds.Contains(page))
            return;
        uint64_t columns = 0, rows = 0;
        for (int y = 0; y < kPageSize; ++y) {
            const uint64_t row = ReachedInRow(cell, y);
            columns |= row;
            rows |= uint64_t{row != 0} << y;
        }
        const int left = std::countr_zero(columns), right = kPageSize - std::countl_zero(columns);
        const int top = std::countr_zero(rows), bottom = kPageSize - std::countl_zero(rows);
        bounds = ilTileUnion(bounds, {page.x + left, page.y + top, right - left, bottom - top});
    });
    return bounds;
}

int64_t FloodRegion::CountPixels() const
{
    int64_t count = 0;
    cells_.ForEach([&](int, int, const Cell& cell) {
        if (cell.bits)
            for (const uint64_t row : *cell.bits)
                count += std::popcount(row);
        else if (cell.coverage)
            count += std::count(cell.coverage->begin(), cell.coverage->end(), 255);
        else
            count += cell.cover == Cover::All ? kPagePixels : 0;
    });
    return count;
}

uint8_t FloodRegion::GetCoverage(int x, int y) const
{
    const Cell* cell = cells_.Find(PageIndexOf(x), PageIndexOf(y));
    if (cell == nullptr)
        return 0;
    uint8_t row[kPageSize];
    ReadRow(*cell, PageOffsetOf(y), row);
    return row[PageOffsetOf(x)];
}

FloodRegion::Cover FloodRegion::GetCover(const ilTile& tile) const
{
    bool any = false, all = true;
    ::ForEachPage(tile, [&](int px, int py, const ilTile&) {
        const Cover cover = GetPageCover(px, py);
        any = any || cover != Cover::None;
        all = all && cover == Cover::All;
    });
    return all ? Cover::All : any ? Cover::Some : Cover::None;
}

void FloodRegion::ReadCoverage(const ilTile& tile, uint8_t* rows, ptrdiff_t stride) const
{
    static const Cell nothing;
    ::ForEachPage(tile, [&](int px, int py, const ilTile& part) {
        const Cell* cell = cells_.Find(px, py);
        uint8_t* out = rows + (part.y - tile.y) * stride + (part.x - tile.x);
        for (int y = 0; y < part.ny; ++y, out += stride) {
            uint8_t row[kPageSize];
            ReadRow(cell != nullptr ? *cell : nothing, PageOffsetOf(part.y) + y, row);
            std::memcpy(out, row + PageOffsetOf(part.x), static_cast<size_t>(part.nx));
        }
    });
}

size_t FloodRegion::GetAllocatedBytes() const
{
    size_t bytes = 0;
    cells_.ForEach([&](int, int, const Cell& cell) {
        bytes += (cell.bits ? sizeof(PageBits) : 0) + (cell.coverage ? sizeof(*cell.coverage) : 0);
    });
    return bytes;
}
