#pragma once

/// A straight piece of path along which the distance between stamps changes linearly, as the stamps grow or shrink:
///
///     |  |   |    |     |      |       |        |
///     from                                     to
///
/// The number of stamps on a stretch is the integral of 1 / distance over it, which is a logarithm. Solved like that it
/// is the same however the path is cut, and a stretch of any length is crossed in one step. The logarithm and its
/// inverse are summed here with sums and products only, so that every machine puts the stamps at the same places.
class StampSpacing {
public:
    /// from, to: the distance between stamps at either end, above 0. length: of the piece, above 0; all in pixels.
    StampSpacing(double from, double to, double length) : from_(from), growth_((to - from) / length) {}

    /// The number of stamps, with its fraction, that the first `place` pixels take.
    double StampsUntil(double place) const;

    /// The place, in pixels from the beginning, that `stamps` stamps lead to.
    double PlaceOf(double stamps) const;

private:
    double from_;
    double growth_;  // of the distance, per pixel of path
};
