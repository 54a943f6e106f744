#pragma once

#include "platform/imaging/regions/CachedSmartImage.h"
#include "platform/imaging/regions/FloodRegion.h"

/// Lets a region end in the soft or anti-aliased edge around it instead of before it.
///
/// Such an edge is a ramp of mixtures of two colours, the region's and the outline's:
///
///     distance          ......        the outline: the ramp's end, its peak
///     from the      ...'      '...    on this side a pixel is covered by its share of the region's colour;
///     region's    .'              '.  beyond the ridge it belongs to whatever lies there
///     colour   _.'                  '._
///       region | band: depth 1, 2, 3, ...
///
/// From each pixel beside the region the ramp is followed outwards, up to kSoftEdgeReach pixels, for as long as its
/// colours go away from the region's. Its end is taken for the outline's colour, and each pixel on the way is covered
/// by the share of the region's colour in it. So an outline stays whole, and nothing of the old colour shines between
/// it and what is painted into the region. Where the ramp ends at once, at an edge that is not soft, nothing is added.
///
/// seed: the region's colour, of the source's channels. area: what may be covered.
void AddSoftEdge(FloodRegion& region, CachedSmartImage& source, const ilPixel& seed, const ilTile& area);

inline constexpr int kSoftEdgeReach = 8;
