#pragma once

#include "stack/StackRooms.h"
#include "stack/edits/Bake.h"
#include "stack/edits/ColorEdits.h"
#include "stack/edits/DocumentSettings.h"
#include "stack/edits/DocumentTransforms.h"
#include "stack/edits/Duplicate.h"
#include "stack/edits/Fills.h"
#include "stack/edits/LayerFlip.h"
#include "stack/edits/LayerProperties.h"
#include "stack/edits/LayerSwitch.h"
#include "stack/edits/LayerTransforms.h"
#include "stack/edits/LayerVisibility.h"
#include "stack/edits/Merge.h"
#include "stack/edits/MergeChoice.h"
#include "stack/edits/PictureEdits.h"
#include "stack/edits/PixelEdits.h"
#include "stack/selection/MagicWand.h"
#include "stack/selection/SelectionImages.h"
#include "stack/selection/SelectionLasso.h"
#include "stack/selection/SelectionLayers.h"
#include "stack/selection/SelectionLife.h"
#include "stack/selection/SelectionRects.h"
#include "stack/selection/SelectionShape.h"
#include "stack/tree/LayerPlacement.h"
#include "stack/tree/LayerRemoval.h"

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

    PictureEdits pictures{*this};
    LayerTransforms transforms{*this, pictures};
    ColorEdits colors{*this, pictures};
    DocumentTransforms document{*this};

    DocumentSettings settings{*this};
    LayerSwitch layerSwitch{*this};
    LayerVisibility visibility{*this};
    LayerProperties layerProperties{*this};
    PixelEdits pixels{*this};
    LayerFlip flip{*this};
    Fills fills{*this};
    Bake bake{*this};
    MergeChoice mergeChoice{*this};
    Merge merge{*this, mergeChoice, bake, visibility};
    Duplicate duplicate{*this};

    LayerPlacement placement{*this};
    LayerRemoval removal{*this};
};
