#include "platform/imaging/regions/PolygonRasterizer.h"

#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/regions/PolygonSweep.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr double kFarthest = 1 << 30;  // pixels

int64_t Quantised(float v)
{
    return static_cast<int64_t>(std::floor(std::clamp(double{v}, -kFarthest, kFarthest) * 256 + 0.5));
}

/// Stores the runs of one page row. The rows' runs are in order, so that one cursor a row walks them page by page.
class PageRowWriter {
public:
    PageRowWriter(ilSmartImage& image, const ilTile& rows, const PolygonSweep& sweep)
        : image_(image), rows_(rows), sweep_(sweep), py_(PageIndexOf(rows.y))
    {}

    /// Returns the box of what was covered.
    ilTile Write(const PagePtr& fullPage)
    {
        ilTile box;
        for (int y = 0; y < rows_.ny; ++y)
            if (const auto& runs = sweep_.GetRuns(y); !runs.empty())
                box = ilTileUnion(
                    box, ilTileFromEdges(runs.front().left, int64_t{rows_.y} + y, runs.back().right, rows_.y + y + 1));
        if (box.IsEmpty())
            return box;
        const int last = PageIndexOf(static_cast<int>(box.Right() - 1));
        for (int px = PageIndexOf(box.x); px <= last; ++px) {
            if (IsFull(px))
                image_.SetPage(px, py_, fullPage);
            else
                WritePage(px);
        }
        return box;
    }

private:
    /// Moves the row's cursor to the first run that reaches into the page; null when none does.
    const PolygonSweep::Run* FirstRun(int y, int px)
    {
        const auto& runs = sweep_.GetRuns(y);
        size_t& cursor = cursors_[y];
        while (cursor < runs.size() && runs[cursor].right <= px * kPageSize)
            ++cursor;
        return cursor < runs.size() && runs[cursor].left < (px + 1) * kPageSize ? &runs[cursor] : nullptr;
    }

    bool IsFull(int px)
    {
        for (int y = 0; y < kPageSize; ++y) {
            const PolygonSweep::Run* run = y < rows_.ny ? FirstRun(y, px) : nullptr;
            if (run == nullptr || run->coverage != 255 || run->left > px * kPageSize ||
                run->right < (px + 1) * kPageSize)
                return false;
        }
        return true;
    }

    void WritePage(int px)
    {
        const int left = px * kPageSize;
        uint8_t* bytes = nullptr;
        for (int y = 0; y < rows_.ny; ++y) {
            const PolygonSweep::Run* run = FirstRun(y, px);
            if (run == nullptr)
                continue;
            if (bytes == nullptr)
                bytes = image_.PageForWriting(px, py_)->BytesForWriting();
            uint8_t* row = bytes + (PageOffsetOf(rows_.y) + y) * kPageSize;
            const PolygonSweep::Run* end = sweep_.GetRuns(y).data() + sweep_.GetRuns(y).size();
            for (; run != end && run->left < left + kPageSize; ++run) {
                const int from = std::max(run->left - left, 0);
                const int to = std::min(run->right - left, kPageSize);
                std::memset(row + from, run->coverage, static_cast<size_t>(to - from));
            }
        }
    }

    ilSmartImage& image_;
    ilTile rows_;
    const PolygonSweep& sweep_;
    int py_;
    size_t cursors_[kPageSize] = {};
};

}  // namespace

bool PolygonRasterizer::AddContour(const float* points, size_t count)
{
    for (size_t i = 0; i < 2 * count; ++i)
        if (!std::isfinite(points[i]))
            return false;
    points_.reserve(points_.size() + count);
    for (size_t i = 0; i < count; ++i)
        points_.push_back({Quantised(points[2 * i]), Quantised(points[2 * i + 1])});
    contourEnds_.push_back(points_.size());
    return true;
}

template <class Visitor>
void PolygonRasterizer::ForEachEdge(Visitor&& visit) const
{
    const int64_t top = int64_t{clip_.y} * 256;
    const int64_t right = clip_.Right() * 256;
    const int64_t bottom = clip_.Bottom() * 256;
    size_t first = 0;
    for (const size_t end : contourEnds_) {
        for (size_t i = first; i < end; ++i) {
            const Point& a = points_[i];
            const Point& b = points_[i + 1 < end ? i + 1 : first];
            const bool leavesMark =
                a.y != b.y && std::max(a.y, b.y) > top && std::min(a.y, b.y) < bottom && std::min(a.x, b.x) < right;
            if (!leavesMark)
                continue;
            if (a.y < b.y)
                visit(PolygonEdge{a.x, a.y, b.x, b.y, 1});
            else
                visit(PolygonEdge{b.x, b.y, a.x, a.y, -1});
        }
        first = end;
    }
}

qs::Reference<ilSmartImage> PolygonRasterizer::Rasterize(FillRule rule) const
{
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel::Coverage(0)));
    if (clip_.IsEmpty())
        return image;
    // Edges by the page row in which they begin: counted, then placed.
    const int firstRow = PageIndexOf(clip_.y);
    const int rowCount = PageIndexOf(static_cast<int>(clip_.Bottom() - 1)) - firstRow + 1;
    const auto rowOf = [&](const PolygonEdge& edge) {
        return std::max<int64_t>((edge.y0 >> (8 + kPageShift)) - firstRow, 0);
    };
    qs::vector<size_t> starts(static_cast<size_t>(rowCount) + 1);
    ForEachEdge([&](const PolygonEdge& edge) { ++starts[static_cast<size_t>(rowOf(edge)) + 1]; });
    for (size_t i = 1; i < starts.size(); ++i)
        starts[i] += starts[i - 1];
    qs::vector<PolygonEdge> edges(starts.back());
    qs::vector<size_t> next(starts.begin(), starts.end() - 1);
    ForEachEdge([&](const PolygonEdge& edge) { edges[next[static_cast<size_t>(rowOf(edge))]++] = edge; });

    const PagePtr fullPage(Page::NewUniform(1, 255));
    PolygonSweep sweep(rule == FillRule::EvenOdd);
    qs::vector<size_t> active;  // indices into edges
    ilTile box;
    for (int i = 0; i < rowCount; ++i) {
        const ilTile rows =
            ilTileIntersection(clip_, ilTileFromEdges(clip_.x, int64_t{firstRow + i} * kPageSize, clip_.Right(),
                                                      int64_t{firstRow + i + 1} * kPageSize));
        for (size_t e = starts[static_cast<size_t>(i)]; e < starts[static_cast<size_t>(i) + 1]; ++e)
            active.push_back(e);
        if (active.empty())
            continue;
        sweep.Begin(rows);
        for (const size_t e : active)
            sweep.AddEdge(edges[e]);
        sweep.Finish();
        box = ilTileUnion(box, PageRowWriter(*image, rows, sweep).Write(fullPage));
        std::erase_if(active, [&](size_t e) { return edges[e].y1 <= rows.Bottom() * 256; });
    }
    image->SetBounds(box);
    return image;
}
