#include "platform/imaging/regions/PolygonSweep.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kShift = 12;
constexpr int64_t kOne = int64_t{1} << kShift;
constexpr int64_t kFull = 2 * kOne * kOne;  // the winding of a pixel that is covered once
constexpr int kColumnBits = 26;
constexpr uint32_t kColumnMask = (uint32_t{1} << kColumnBits) - 1;
constexpr size_t kCellBudget = size_t{1} << 16;  // cells kept before those of one pixel are merged

/// To the nearest integer, halves upwards: a conversion truncates, so it is made of a positive number.
int64_t Rounded(double v)
{
    constexpr double kBias = static_cast<double>(int64_t{1} << 45);
    return static_cast<int64_t>(v + (kBias + 0.5)) - (int64_t{1} << 45);
}

uint8_t CoverageOf(int64_t winding, bool isEvenOdd)
{
    if (isEvenOdd) {
        winding &= 2 * kFull - 1;
        winding = std::min(winding, 2 * kFull - winding);
    } else {
        winding = std::min(winding < 0 ? -winding : winding, kFull);
    }
    return static_cast<uint8_t>((winding * 255 + kFull / 2) / kFull);
}

}  // namespace

void PolygonSweep::Begin(const ilTile& rows)
{
    rows_ = rows;
    width_ = int64_t{rows.nx} << kShift;
    cells_.clear();
    compactAt_ = kCellBudget;
    for (qs::vector<Run>& runs : runs_)
        runs.clear();
}

void PolygonSweep::AddEdge(const PolygonEdge& edge)
{
    // In 1/4096 pixel from the top left of the rows. Rows cut the edge where the line from end to end passes, the same
    // point from above and from below, so that nothing leaks between them.
    const int64_t x0 = (edge.x0 - int64_t{rows_.x} * 256) * 16;
    const int64_t y0 = (edge.y0 - int64_t{rows_.y} * 256) * 16;
    const int64_t x1 = (edge.x1 - int64_t{rows_.x} * 256) * 16;
    const int64_t y1 = (edge.y1 - int64_t{rows_.y} * 256) * 16;
    const double slope = static_cast<double>(x1 - x0) / static_cast<double>(y1 - y0);
    const auto xAt = [&](int64_t y) { return y >= y1 ? x1 : x0 + Rounded(static_cast<double>(y - y0) * slope); };

    int64_t ya = std::max<int64_t>(y0, 0);
    int64_t xa = xAt(ya);
    const int64_t bottom = std::min(y1, int64_t{rows_.ny} << kShift);
    for (int row = static_cast<int>(ya >> kShift); ya < bottom; ++row) {
        const int64_t yb = std::min(int64_t{row + 1} << kShift, bottom);
        const int64_t xb = xAt(yb);
        const int64_t top = int64_t{row} << kShift;
        AddInRow(row, xa, ya - top, xb, yb - top, edge.winding);
        xa = xb;
        ya = yb;
    }
    if (cells_.size() >= compactAt_)
        Compact();
}

/// Cuts the line at the left and right ends of the rows. What lies to the left winds around all columns, what lies to
/// the right around none.
void PolygonSweep::AddInRow(int row, int64_t xa, int64_t ya, int64_t xb, int64_t yb, int winding)
{
    const auto [low, high] = std::minmax(xa, xb);
    if (low >= width_)
        return;
    if (high <= 0) {
        AddCell(row, 0, winding * (yb - ya), 0);
        return;
    }
    if (low >= 0 && high <= width_) {
        AddWithin(row, xa, ya, xb, yb, winding);
        return;
    }
    const double slope = static_cast<double>(yb - ya) / static_cast<double>(xb - xa);
    const auto yAt = [&](int64_t x) { return std::clamp(ya + Rounded(static_cast<double>(x - xa) * slope), ya, yb); };
    const int64_t yLeft = low < 0 ? yAt(0) : xa < xb ? ya : yb;
    const int64_t yRight = high > width_ ? yAt(width_) : xa < xb ? yb : ya;
    if (low < 0)
        AddCell(row, 0, winding * (xa < xb ? yLeft - ya : yb - yLeft), 0);
    const int64_t xFrom = std::clamp<int64_t>(xa, 0, width_);
    const int64_t xTo = std::clamp<int64_t>(xb, 0, width_);
    AddWithin(row, xFrom, std::min(yLeft, yRight), xTo, std::max(yLeft, yRight), winding);
}

/// Walks the columns that the line passes, left to right.
void PolygonSweep::AddWithin(int row, int64_t xa, int64_t ya, int64_t xb, int64_t yb, int winding)
{
    if (ya == yb)
        return;
    int64_t yLeft = ya;
    int64_t yRight = yb;
    if (xa > xb) {
        std::swap(xa, xb);
        std::swap(yLeft, yRight);
    }
    const int64_t sign = yLeft < yRight ? winding : -winding;  // heights count downwards, whichever way it is walked
    int64_t column = xa >> kShift;
    const int64_t lastColumn = (xb - 1) >> kShift;
    if (lastColumn <= column) {
        const int64_t left = column << kShift;
        const int64_t cover = sign * (yRight - yLeft);
        AddCell(row, column, cover, cover * (xa + xb - 2 * left));
        return;
    }
    const double slope = static_cast<double>(yRight - yLeft) / static_cast<double>(xb - xa);
    int64_t x = xa;
    int64_t y = yLeft;
    for (; column <= lastColumn; ++column) {
        const int64_t left = column << kShift;
        const int64_t nextX = std::min(left + kOne, xb);
        const int64_t nextY = nextX == xb ? yRight : yLeft + Rounded(static_cast<double>(nextX - xa) * slope);
        const int64_t cover = sign * (nextY - y);
        AddCell(row, column, cover, cover * (x + nextX - 2 * left));
        x = nextX;
        y = nextY;
    }
}

void PolygonSweep::AddCell(int row, int64_t column, int64_t cover, int64_t area)
{
    if (cover == 0)
        return;
    const uint32_t key = static_cast<uint32_t>(row) << kColumnBits | static_cast<uint32_t>(column);
    // Short edges follow each other within a pixel.
    if (!cells_.empty() && cells_.back().key == key) {
        cells_.back().cover += cover;
        cells_.back().area += area;
        return;
    }
    cells_.push_back({key, cover, area});
}

/// Sorts the cells and merges those of one pixel: however many edges there are, the memory is that of the outline.
void PolygonSweep::Compact()
{
    if (cells_.size() >= static_cast<size_t>(rows_.Area()))
        SumDense();
    else
        SumSorted();
    compactAt_ = std::max(kCellBudget, 2 * cells_.size());
}

/// More cells than pixels: they are added up in place.
void PolygonSweep::SumDense()
{
    const size_t width = static_cast<size_t>(rows_.nx);
    sorted_.assign(width * static_cast<size_t>(rows_.ny), {});
    for (const Cell& cell : cells_) {
        Cell& sum = sorted_[(cell.key >> kColumnBits) * width + (cell.key & kColumnMask)];
        sum.key = cell.key;
        sum.cover += cell.cover;
        sum.area += cell.area;
    }
    cells_.clear();
    for (const Cell& sum : sorted_)
        if (sum.cover != 0 || sum.area != 0)
            cells_.push_back(sum);
}

void PolygonSweep::SumSorted()
{
    // By row first, in one pass; the cells of a row are few.
    size_t starts[kPageSize + 1] = {};
    for (const Cell& cell : cells_)
        ++starts[(cell.key >> kColumnBits) + 1];
    for (int row = 0; row < kPageSize; ++row)
        starts[row + 1] += starts[row];
    size_t next[kPageSize];
    std::copy_n(starts, kPageSize, next);
    sorted_.resize(cells_.size());
    for (const Cell& cell : cells_)
        sorted_[next[cell.key >> kColumnBits]++] = cell;
    const auto at = [&](size_t index) { return sorted_.begin() + static_cast<ptrdiff_t>(index); };
    for (int row = 0; row < kPageSize; ++row)
        std::sort(at(starts[row]), at(starts[row + 1]), [](const Cell& a, const Cell& b) { return a.key < b.key; });

    cells_.clear();
    for (const Cell& cell : sorted_) {
        if (!cells_.empty() && cells_.back().key == cell.key) {
            cells_.back().cover += cell.cover;
            cells_.back().area += cell.area;
        } else {
            cells_.push_back(cell);
        }
    }
}

void PolygonSweep::Finish()
{
    Compact();
    for (size_t first = 0; first < cells_.size();) {
        const uint32_t row = cells_[first].key >> kColumnBits;
        size_t end = first + 1;
        while (end < cells_.size() && cells_[end].key >> kColumnBits == row)
            ++end;
        SweepRow(static_cast<int>(row), &cells_[first], end - first);
        first = end;
    }
}

void PolygonSweep::SweepRow(int row, const Cell* cells, size_t count)
{
    int64_t cover = 0;
    int64_t column = 0;
    for (size_t i = 0; i < count; ++i) {
        const int64_t at = cells[i].key & kColumnMask;
        AddRun(row, column, at, 2 * kOne * cover);
        cover += cells[i].cover;
        AddRun(row, at, at + 1, 2 * kOne * cover - cells[i].area);
        column = at + 1;
    }
    AddRun(row, column, rows_.nx, 2 * kOne * cover);
}

void PolygonSweep::AddRun(int row, int64_t left, int64_t right, int64_t winding)
{
    const uint8_t coverage = CoverageOf(winding, isEvenOdd_);
    if (left >= right || coverage == 0)
        return;
    qs::vector<Run>& runs = runs_[row];
    const int from = static_cast<int>(rows_.x + left);
    const int to = static_cast<int>(rows_.x + right);
    if (!runs.empty() && runs.back().right == from && runs.back().coverage == coverage)
        runs.back().right = to;
    else
        runs.push_back({from, to, coverage});
}
