#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/stamps/StampCoverage.h"
#include "platform/imaging/stamps/StampForm.h"

/// Makes the coverage of hard stamps: the area of every pixel that the ellipse covers, exact but for the rounding to a
/// byte. Additions, products and square roots only, so that every build gives the same bytes.
///
/// The outline is cut where it crosses the edges of pixels. Within one pixel a piece of it is a chord and the sliver
/// between chord and arc; an affine map takes the sliver to the unit circle, where its area has a short series.
///
///        top                 Row by row from the top, one side of the outline on the left and one on the right, each
///      /     \               falling away from the top until its turning point and coming back to the bottom.
///     L       |              Pixels between the two sides are filled without looking at them.
///      \      R
///       bottom
class HardStampRasterizer {
public:
    qs::Reference<StampCoverage> Make(const StampForm& form);

private:
    struct Point {
        double x = 0;
        double y = 0;
    };

    /// One side of the outline within one row: for each column from `first` to `last` the area on the inner side.
    struct Side {
        qs::vector<double> areas;
        qs::vector<double> heights;  // of the outline within the column
        int first = 0;
        int last = -1;
    };

    void Prepare(const StampForm& form);
    void FindSides(double y, Point& left, Point& right) const;
    void WalkSide(bool right, double top, double bottom, const Point& from, const Point& to);
    void WalkArc(bool right, Point from, const Point& to, const qs::vector<double>& crossings);
    void AddPiece(bool right, int column, const Point& from, const Point& to);
    void WriteRow(uint8_t* row, double height);
    double SliverArea(double dx, double dy) const;

    double ColumnX(int column) const { return firstX_ + column; }

    StampEllipse ellipse_{StampForm{}};
    double ellipseScale_ = 1;  // area of the ellipse by that of the unit circle
    int columns_ = 0;
    int rows_ = 0;
    double firstX_ = 0;  // left edge of column 0 and top edge of row 0, from the centre
    double firstY_ = 0;
    Point leftTurn_;
    Point rightTurn_;
    Point top_;
    Point bottom_;
    qs::vector<double> upperY_;  // where the outline crosses the left edge of each column
    qs::vector<double> lowerY_;
    Side left_;
    Side right_;
};
