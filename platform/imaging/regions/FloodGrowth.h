#pragma once

#include "platform/imaging/regions/FloodRegion.h"

/// The region with every pixel within `pixels` (a disc, 1 to kMaxGrowPx) of it covered as it is; soft edges move
/// outwards and stay soft. area: what may be covered.
FloodRegion GrownRegion(const FloodRegion& region, const ilTile& area, int pixels);
