#include "platform/imaging/pages/PageTiles.h"

#include <algorithm>
#include <utility>

void PageTiles::Add(int px, int py)
{
    if (!tiles_.empty() && tiles_.back().y == py && tiles_.back().Right() == px) {
        ++tiles_.back().nx;
        return;
    }
    FoldLast();
    tiles_.push_back({px, py, 1, 1});
}

qs::vector<ilTile> PageTiles::TakeTiles()
{
    FoldLast();
    qs::vector<ilTile> tiles = std::exchange(tiles_, {});
    for (ilTile& tile : tiles)
        tile = ilTileFromEdges(int64_t{tile.x} * kPageSize, int64_t{tile.y} * kPageSize, tile.Right() * kPageSize,
                               tile.Bottom() * kPageSize);
    return tiles;
}

/// The last stretch is complete: joins the tile that ends right above it, when it is of the same width.
void PageTiles::FoldLast()
{
    if (tiles_.empty())
        return;
    const ilTile last = tiles_.back();
    for (size_t i = tiles_.size() - 1; i-- > 0 && tiles_[i].Bottom() >= last.y - 1;)
        if (tiles_[i].x == last.x && tiles_[i].nx == last.nx && tiles_[i].Bottom() == last.y) {
            tiles_[i].ny += last.ny;
            tiles_.pop_back();
            return;
        }
}

qs::vector<ilTile> TilesOfDifferentPages(const ilMIOImage& a, const ilMIOImage& b)
{
    qs::vector<std::pair<int, int>> pages;  // row, column
    a.VisitDifferentPages(b, [&](int px, int py, const Page*, const Page*) { pages.emplace_back(py, px); });
    std::sort(pages.begin(), pages.end());
    PageTiles tiles;
    for (const auto& [py, px] : pages)
        tiles.Add(px, py);
    return tiles.TakeTiles();
}
