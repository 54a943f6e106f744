#pragma once

#include "platform/imaging/pages/Page.h"
#include "platform/imaging/pages/ilTile.h"

#include <algorithm>

/// The pixels of page (px, py).
constexpr ilTile PageTile(int px, int py)
{
    return {px * kPageSize, py * kPageSize, kPageSize, kPageSize};
}

/// Calls visit(px, py, part) for each page that `tile` meets, row by row; `part` is the tile within the page.
template <class Visitor>
void ForEachPage(const ilTile& tile, Visitor&& visit)
{
    if (tile.IsEmpty())
        return;
    const int right = PageIndexOf(static_cast<int>(tile.Right() - 1));
    const int bottom = PageIndexOf(static_cast<int>(tile.Bottom() - 1));
    for (int py = PageIndexOf(tile.y); py <= bottom; ++py)
        for (int px = PageIndexOf(tile.x); px <= right; ++px)
            visit(px, py, ilTileIntersection(tile, PageTile(px, py)));
}

/// Cuts `tile` where a second image's page grid, moved by (dx, dy), cuts it: calls visit(piece, px, py) for each piece,
/// with the page of the second image that holds it; pixel (x, y) of the tile is (x + dx, y + dy) there. Within a piece
/// both images have contiguous rows when `tile` lies within one page of the first.
template <class Visitor>
void ForEachPieceOf(const ilTile& tile, int64_t dx, int64_t dy, Visitor&& visit)
{
    ForEachPage(ilTileMoved(tile, dx, dy),
                [&](int px, int py, const ilTile& part) { visit(ilTileMoved(part, -dx, -dy), px, py); });
}
