#pragma once

#include "stack/StackRooms.h"

/// All that a layer stack hands its work to: the rooms, and the edits that work on them.
struct StackParts : StackRooms {
    using StackRooms::StackRooms;
};
