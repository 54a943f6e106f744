#pragma once

#include "stack/StackRooms.h"
#include "stack/selection/MagicWand.h"
#include "stack/selection/SelectionImages.h"
#include "stack/selection/SelectionLasso.h"
#include "stack/selection/SelectionLayers.h"
#include "stack/selection/SelectionLife.h"
#include "stack/selection/SelectionRects.h"
#include "stack/selection/SelectionShape.h"

/// All that a layer stack hands its work to: the rooms, and the edits that work on them.
struct StackParts : StackRooms {
    using StackRooms::StackRooms;

    SelectionLife selectionLife{*this};
    SelectionRects selectionRects{*this, selectionLife};
    SelectionImages selectionImages{*this, selectionLife};
    SelectionLayers selectionLayers{*this, selectionImages};
    SelectionLasso selectionLasso{*this, selectionLife, selectionImages};
    SelectionShape selectionShape{*this, selectionLife};
    MagicWand wand{*this};
};
