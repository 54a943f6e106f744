#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/regions/PolygonRasterizer.h"
#include "stack/SelectionMode.h"
#include "stack/edits/DocumentEdit.h"

class SelectionImages;
class SelectionLife;

/// Selects by closed polygons: `count` canvas points, x and y in turn.
class SelectionLasso : public DocumentEdit {
public:
    SelectionLasso(StackRooms& rooms, SelectionLife& life, SelectionImages& images)
        : DocumentEdit(rooms), life_(life), images_(images)
    {}

    /// The polygon within the canvas; null when it is refused.
    qs::TempReference<ilSmartImage> Draw(const float* points, int count, bool nonZero) const;
    void Subtract(const float* points, int count);
    bool Select(const float* points, int count, SelectionMode mode, FillRule rule);

private:
    SelectionLife& life_;
    SelectionImages& images_;
};
