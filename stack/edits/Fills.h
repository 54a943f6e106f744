#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilTile.h"
#include "stack/edits/DocumentEdit.h"

class FloodRegion;
struct PaintColor;
class ilPixel;

/// Fills of one layer, within what is selected: a rectangle, or what is alike in colour.
class Fills : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    bool FillTile(const PntHandle& handle, const ilTile& tile, const ilPixel& pixel);
    bool FloodLayer(int x, int y, float tolerance, const PaintColor& color, const PntHandle& handle);
    bool FloodSmoothly(int x, int y, float tolerance, const PaintColor& color, ilTile& fillTile,
                       const PntHandle& handle);

private:
    bool IsFillable(const Layer& layer) const;
    bool Flood(Layer& layer, int x, int y, float tolerance, const PaintColor& color, bool isSmooth, ilTile& onCanvas);
    void TellFilled(Layer& layer, const FloodRegion& region);
};
