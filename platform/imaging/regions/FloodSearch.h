#pragma once

#include "platform/imaging/regions/CachedSmartImage.h"
#include "platform/imaging/regions/ColorMatch.h"
#include "platform/imaging/regions/FloodSelection.h"

#include <deque>

/// Finds what is 4-connected to a pixel through pixels like it.
///
/// The search goes page by page. A page's pixels become one bit each, a word a row, and whole runs of bits are filled
/// at once. What arrives at one of the page's four borders is handed to the neighbour as 64 bits, one for each pixel of
/// the border, and the neighbour waits in a list until its turn comes:
///
///     page (0, 0)      page (1, 0)        the flood arrives at rows 1 and 2 of the right border,
///     . . # #          . . . .            so bits 1 and 2 enter page (1, 0) at its left border;
///     . . # #  bit 1 > . . . .            of those, the ones that are like the seed go on there
///     . # # #  bit 2 > # # . .
///     . . . .          . . . .
///
/// Pixels meet at sides only, so nothing passes from page to page across a corner. Each run of like pixels is filled
/// once and each page is looked at once, however often the flood comes back to it. Pages of one value are never looked
/// into.
class FloodSearch {
public:
    /// area: what the flood may reach, in the source's pixels; pixels where `selection` is 0 are walls.
    FloodSearch(CachedSmartImage& source, const ColorMatch& match, const ilTile& area, const FloodSelection& selection);

    /// The region of the pixel; empty when it lies outside the area or the selection.
    FloodRegion Run(int x, int y);

private:
    enum class State : uint8_t { Unseen, Wall, Whole, WholeReached, Part };
    enum Side { kAbove, kBelow, kLeft, kRight };

    /// A page that is like the seed in part.
    struct Part {
        PageBits open;  // like the seed and not reached yet
        std::unique_ptr<PageBits> filled;
        uint64_t entering[4] = {};  // by Side: what arrived at that border and waits
        bool isWaiting = false;
    };
    struct Cell {
        State state = State::Unseen;
        std::unique_ptr<Part> part;
    };
    struct Place {
        int px, py;
    };

    Cell& LookAt(int px, int py);
    State Classify(int px, int py, std::unique_ptr<Part>& part);
    void Enter(int px, int py, Side side, uint64_t bits);
    void FillPart(const Place& at, Part& part, uint64_t rowsWaiting, uint64_t* waiting);
    void TakeEntering(const Place& at, Part& part);
    void Leave(const Place& at, const uint64_t leaving[4]);
    FloodRegion TakeRegion();

    CachedSmartImage& source_;
    const ColorMatch& match_;
    ilTile area_;
    const FloodSelection& selection_;
    PageGrid<Cell> cells_;
    std::deque<Place> waiting_;
};
