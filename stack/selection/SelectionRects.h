#pragma once

#include "platform/imaging/pages/ilTile.h"
#include "stack/edits/DocumentEdit.h"

class SelectionLife;

/// Selects rectangles of the canvas.
class SelectionRects : public DocumentEdit {
public:
    SelectionRects(StackRooms& rooms, SelectionLife& life) : DocumentEdit(rooms), life_(life) {}

    /// Exactly the tile, or the whole canvas; everything but the tile.
    void Fill(const ilTile& tile, bool rebuild);
    void Fill(bool rebuild);
    void FillAllBut(const ilTile& tile, bool rebuild);

    /// Nothing happens without a selection mask.
    void Add(const ilTile& tile, bool rebuild);
    void Subtract(const ilTile& tile, bool rebuild);

private:
    SelectionLife& life_;
};
