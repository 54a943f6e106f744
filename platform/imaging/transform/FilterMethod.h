#pragma once

/// How pixels between pixels are made. When shrinking, a filter is stretched over all pixels that fall into a new one,
/// so that nothing aliases; only kFilterNearest never looks at more than one.
enum FilterMethod : int {
    kFilterNearest = 0,
    kFilterBilinear = 1,
    kFilterBicubic = 2,  // Catmull-Rom
    kFilterArea = 3,  // each pixel by the share of it that is covered
    kFilterLanczos = 4,  // three lobes; acts as kFilterBicubic where a map turns or bends
};

/// The filter that a number from outside names; an unknown number is bilinear.
constexpr FilterMethod FilterMethodFrom(int number)
{
    return number >= kFilterNearest && number <= kFilterLanczos ? static_cast<FilterMethod>(number) : kFilterBilinear;
}
