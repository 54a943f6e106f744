#include "stack/edits/DocumentEdit.h"

#include "stack/StackRooms.h"

DocumentEdit::DocumentEdit(StackRooms& rooms)
    : stack_(rooms.stack), properties_(rooms.properties), tree_(rooms.tree), groups_(rooms.groups),
      canvas_(rooms.canvas), selection_(rooms.selection), current_(rooms.current), plane_(rooms.plane),
      update_(rooms.update), redraw_(rooms.redraw), proxy_(rooms.proxy)
{}
