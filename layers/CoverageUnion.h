#pragma once

#include "platform/imaging/pages/ilSmartImage.h"

/// The tile grown to whole pages, so that pages can be shared instead of copied in part.
ilTile GrownToPages(const ilTile& tile);

/// into = the union of both one-channel images over `tile`; the source's (0, 0) lies on pixel (dx, dy) of `into`.
void UniteWithin(ilSmartImage& into, const ilTile& tile, const ilMIOImage& source, int64_t dx, int64_t dy);

/// The same everywhere, at the cost of the pages that can change: where neither stores one the fill values unite, and a
/// missing page of full coverage stays what it is.
void UniteEverywhere(ilSmartImage& into, const ilMIOImage& source, int64_t dx, int64_t dy);
