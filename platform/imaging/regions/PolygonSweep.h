#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/Page.h"
#include "platform/imaging/pages/ilTile.h"

#include <cstdint>

/// One edge of a polygon, upper end first, in 1/256 pixel.
struct PolygonEdge {
    int64_t x0, y0;
    int64_t x1, y1;  // y1 > y0
    int winding;  // 1 when the contour runs downwards here, else -1
};

/// The scan conversion of one page row of up to 64 pixel rows: takes edges, makes cells of them, and sweeps the cells
/// into runs of equal coverage. One object is used for row after row.
///
/// A cell says what the edges that pass one pixel do to it and to all pixels to its right:
///
///        pixel        next
///     +---/-----+---------+    cover: the height that the edge takes up. All pixels to the right gain this much.
///     |  /      |         |    area:  as much of it as lies between the pixel's left side and the edge. The pixel
///     | /       | cover   |           itself gains that much less.
///     |/        |         |
///     +---------+---------+    Edges that run upwards count negatively.
///
/// Adding up the covers from left to right gives the winding of each pixel, however many edges there are. The sums are
/// of integers and exact.
class PolygonSweep {
public:
    struct Run {
        int left, right;  // columns [left, right)
        uint8_t coverage;  // above 0
    };

    explicit PolygonSweep(bool isEvenOdd) : isEvenOdd_(isEvenOdd) {}

    /// Starts with `rows`: at most 64 rows, the columns that are drawn.
    void Begin(const ilTile& rows);

    /// Adds the part of the edge that lies within the rows.
    void AddEdge(const PolygonEdge& edge);

    /// Makes the runs, good until the next Begin.
    void Finish();

    /// The runs of the y-th row, left to right.
    const qs::vector<Run>& GetRuns(int y) const { return runs_[y]; }

private:
    /// What edges left in one pixel. Positions are in 1/4096 pixel, kOne the whole one.
    struct Cell {
        uint32_t key;  // row in the upper 6 bits, column from the left of the rows in the others
        int64_t cover;  // signed heights, of kOne
        int64_t area;  // signed heights times twice the distances from the pixel's left
    };

    void AddInRow(int row, int64_t xa, int64_t ya, int64_t xb, int64_t yb, int winding);
    void AddWithin(int row, int64_t xa, int64_t ya, int64_t xb, int64_t yb, int winding);
    void AddCell(int row, int64_t column, int64_t cover, int64_t area);
    void Compact();
    void SumDense();
    void SumSorted();
    void SweepRow(int row, const Cell* cells, size_t count);
    void AddRun(int row, int64_t left, int64_t right, int64_t winding);

    bool isEvenOdd_;
    ilTile rows_;
    int64_t width_ = 0;  // of the rows, in 1/4096 pixel
    qs::vector<Cell> cells_;
    qs::vector<Cell> sorted_;
    size_t compactAt_ = 0;
    qs::vector<Run> runs_[kPageSize];
};
