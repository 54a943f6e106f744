#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilMIOImage.h"
#include "platform/imaging/pages/ilTile.h"

/// Collects pages into few tiles: neighbours in a row, then equal stretches of rows. Pages come row by row, each row
/// from left to right, each page once.
class PageTiles {
public:
    void Add(int px, int py);

    /// The tiles in pixels; nothing is left.
    qs::vector<ilTile> TakeTiles();

private:
    void FoldLast();

    qs::vector<ilTile> tiles_;  // in pages
};

/// Tiles of whole pages that hold every stored pixel in which the images differ; those of pages that both share are
/// left out without a look at the pixels. Fill values are not compared.
qs::vector<ilTile> TilesOfDifferentPages(const ilMIOImage& a, const ilMIOImage& b);
