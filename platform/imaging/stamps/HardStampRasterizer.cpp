#include "platform/imaging/stamps/HardStampRasterizer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

/// The area between a chord of the unit circle and its arc, by the square of half the chord. The series of
/// asin(s) - s·sqrt(1 - s²); five terms suffice below 1/16.
double UnitSliver(double halfChordSquared)
{
    double s2 = halfChordSquared;
    if (s2 > 1.0 / 16) {
        // The triangle between the chord and the chords of both halves of the arc, and those two slivers.
        s2 = std::min(s2, 1.0);
        const double oneMinusCosine = 1 - std::sqrt(1 - s2);
        return std::sqrt(s2) * oneMinusCosine + 2 * UnitSliver(oneMinusCosine / 2);
    }
    const double series = 2.0 / 3 + s2 * (1.0 / 5 + s2 * (3.0 / 28 + s2 * (5.0 / 72 + s2 * (35.0 / 704))));
    return s2 * std::sqrt(s2) * series;
}

uint8_t ByteFromArea(double area)
{
    // The last term breaks ties, which the two sides of a symmetric stamp meet from both directions.
    return static_cast<uint8_t>(std::clamp(area, 0.0, 1.0) * 255 + (0.5 + 1e-9));
}

}  // namespace

qs::Reference<StampCoverage> HardStampRasterizer::Make(const StampForm& form)
{
    Prepare(form);
    auto coverage = qs::MakeReference<StampCoverage>(FloorToInt(form.centreX - ellipse_.reachX),
                                                     FloorToInt(form.centreY - ellipse_.reachY), columns_, rows_);
    Point leftFrom = top_;
    Point rightFrom = top_;
    for (int row = 0; row < rows_; ++row) {
        const double top = std::max(firstY_ + row, top_.y);
        if (top >= bottom_.y)
            break;
        const double bottom = std::min(firstY_ + row + 1, bottom_.y);
        Point leftTo = bottom_;
        Point rightTo = bottom_;
        if (bottom < bottom_.y)
            FindSides(bottom, leftTo, rightTo);
        WalkSide(false, top, bottom, leftFrom, leftTo);
        WalkSide(true, top, bottom, rightFrom, rightTo);
        WriteRow(coverage->GetRow(row), bottom - top);
        leftFrom = leftTo;
        rightFrom = rightTo;
    }
    coverage->Finish();
    return coverage;
}

void HardStampRasterizer::Prepare(const StampForm& form)
{
    const StampEllipse e(form);
    ellipse_ = e;
    ellipseScale_ = form.along * form.across;
    const int left = FloorToInt(form.centreX - e.reachX);
    const int top = FloorToInt(form.centreY - e.reachY);
    columns_ = std::max(1, CeilToInt(form.centreX + e.reachX) - left);
    rows_ = std::max(1, CeilToInt(form.centreY + e.reachY) - top);
    firstX_ = left - form.centreX;
    firstY_ = top - form.centreY;
    top_ = {e.xy * e.reachY / e.xx, -e.reachY};
    bottom_ = {-top_.x, e.reachY};
    rightTurn_ = {e.reachX, -e.xy * e.reachX / e.yy};
    leftTurn_ = {-e.reachX, -rightTurn_.y};

    const auto size = static_cast<size_t>(columns_) + 1;
    for (qs::vector<double>* values :
         {&upperY_, &lowerY_, &left_.areas, &left_.heights, &right_.areas, &right_.heights})
        values->resize(std::max(values->size(), size));
    for (size_t i = 0; i < size; ++i) {
        const double x = firstX_ + static_cast<double>(i);
        const double middle = -e.xy * x / e.yy;
        const double half = std::sqrt(std::max(0.0, e.yy - e.determinant * x * x)) / e.yy;
        upperY_[i] = middle - half;
        lowerY_[i] = middle + half;
    }
}

void HardStampRasterizer::FindSides(double y, Point& left, Point& right) const
{
    double middle = 0;
    double half = 0;
    // By rounding the line may just miss the outline at its very top or bottom.
    if (!ellipse_.FindChord(y, 1, middle, half))
        half = 0;
    left = {middle - half, y};
    right = {middle + half, y};
}

/// The part of one side between the heights `top` and `bottom`, cut at its turning point.
void HardStampRasterizer::WalkSide(bool right, double top, double bottom, const Point& from, const Point& to)
{
    Side& side = right ? right_ : left_;
    side.first = columns_;
    side.last = -1;
    const Point& turn = right ? rightTurn_ : leftTurn_;
    if (turn.y <= top) {
        WalkArc(right, from, to, lowerY_);
    } else if (turn.y >= bottom) {
        WalkArc(right, from, to, upperY_);
    } else {
        WalkArc(right, from, turn, upperY_);
        WalkArc(right, turn, to, lowerY_);
    }
}

/// A piece of the outline that runs in one direction, cut at the edges of columns, which it crosses at `crossings`.
void HardStampRasterizer::WalkArc(bool right, Point from, const Point& to, const qs::vector<double>& crossings)
{
    const auto crossingAt = [&](int column) {
        return Point{ColumnX(column), std::clamp(crossings[static_cast<size_t>(column)], from.y, to.y)};
    };
    if (to.x >= from.x) {
        int column = std::clamp(FloorToInt(from.x - firstX_), 0, columns_ - 1);
        for (; column < columns_ - 1 && to.x > ColumnX(column + 1); ++column) {
            const Point crossing = crossingAt(column + 1);
            AddPiece(right, column, from, crossing);
            from = crossing;
        }
        AddPiece(right, column, from, to);
    } else {
        int column = std::clamp(CeilToInt(from.x - firstX_) - 1, 0, columns_ - 1);
        for (; column > 0 && to.x < ColumnX(column); --column) {
            const Point crossing = crossingAt(column);
            AddPiece(right, column, from, crossing);
            from = crossing;
        }
        AddPiece(right, column, from, to);
    }
}

void HardStampRasterizer::AddPiece(bool right, int column, const Point& from, const Point& to)
{
    Side& side = right ? right_ : left_;
    // A side's columns within a row are contiguous, but it may enter some twice around its turning point.
    while (side.first > column || side.last < column) {
        const int fresh = side.last < side.first ? column : side.first > column ? side.first - 1 : side.last + 1;
        side.first = std::min(side.first, fresh);
        side.last = std::max(side.last, fresh);
        side.areas[static_cast<size_t>(fresh)] = 0;
        side.heights[static_cast<size_t>(fresh)] = 0;
    }
    const double height = to.y - from.y;
    const double middle = (from.x + to.x) / 2;
    const double width = right ? middle - ColumnX(column) : ColumnX(column + 1) - middle;
    side.areas[static_cast<size_t>(column)] += height * width + SliverArea(to.x - from.x, height);
    side.heights[static_cast<size_t>(column)] += height;
}

double HardStampRasterizer::SliverArea(double dx, double dy) const
{
    const double chordSquared = ellipse_.xx * dx * dx + 2 * ellipse_.xy * dx * dy + ellipse_.yy * dy * dy;
    return chordSquared > 0 ? ellipseScale_ * UnitSliver(chordSquared / 4) : 0;
}

/// A pixel's coverage is what lies inside of both sides: the sum of the two inner areas less the height of the row,
/// which each of the two has where the other one passes.
void HardStampRasterizer::WriteRow(uint8_t* row, double height)
{
    double outer = 0;
    for (int column = left_.first; column <= left_.last; ++column) {
        const auto i = static_cast<size_t>(column);
        left_.areas[i] += outer;
        outer += left_.heights[i];
    }
    outer = 0;
    for (int column = right_.last; column >= right_.first; --column) {
        const auto i = static_cast<size_t>(column);
        right_.areas[i] += outer;
        outer += right_.heights[i];
    }

    for (int column = left_.first; column <= left_.last; ++column) {
        double area = left_.areas[static_cast<size_t>(column)];
        if (column > right_.last)
            area -= height;
        else if (column >= right_.first)
            area += right_.areas[static_cast<size_t>(column)] - height;
        row[column] = ByteFromArea(area);
    }
    const int afterLeft = left_.last + 1;
    if (right_.first > afterLeft)
        std::memset(row + afterLeft, ByteFromArea(height), static_cast<size_t>(right_.first - afterLeft));
    for (int column = std::max(afterLeft, right_.first); column <= right_.last; ++column)
        row[column] = ByteFromArea(right_.areas[static_cast<size_t>(column)]);
}
