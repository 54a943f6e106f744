#pragma once

#include "layers/LayerPivot.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilMIOImage.h"

/// What an edit of pixels can change of a layer, as it was at one moment: which image object it had, what was in it,
/// and where that lay. Costs the pages that are changed afterwards, only.
struct PAINTLAYER_EXPORT LayerContent {
    qs::Reference<ilMIOImage> image;  // the layer's own object, which copies of the layer refer to as well; or null
    qs::Reference<ilMIOImage> pixels;  // shares the pages that it held; null exactly without an image
    int x = 0;  // offset on the canvas
    int y = 0;
    LayerPivot pivot;

    /// Whether every pixel lies where it lies in the other, as far as shared pages tell.
    bool IsSameAs(const LayerContent& other) const;

    /// Whether only stored pages can differ: the same offset, fill value and kind of image.
    bool IsComparable(const LayerContent& other) const;

    /// Tiles of `canvas` (and beyond) that hold all in which the two look different.
    qs::vector<ilTile> TilesOfDifference(const LayerContent& other, const ilTile& canvas) const;

private:
    ilTile GetArea(const ilTile& canvas) const;
};
