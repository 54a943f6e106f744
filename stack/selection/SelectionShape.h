#pragma once

#include "stack/edits/DocumentEdit.h"

class SelectionLife;

/// Changes the selection as a whole; nothing happens without a selection mask.
class SelectionShape : public DocumentEdit {
public:
    SelectionShape(StackRooms& rooms, SelectionLife& life) : DocumentEdit(rooms), life_(life) {}

    void Move(int dx, int dy, bool rebuild);
    void Invert(bool rebuild);
    void Grow(int pixels, bool rebuild);
    void Feather(float radius, bool rebuild);

private:
    SelectionLife& life_;
};
