#pragma once

#include "layers/LayerPicture.h"
#include "platform/imaging/pages/ilTile.h"

class Canvas;
class Layer;
class LayerTree;

/// What the selection mask of a document selects, and where; changes nothing.
class SelectionMask {
public:
    SelectionMask(LayerTree& tree, Canvas& canvas) : tree_(tree), canvas_(canvas) {}

    Layer* Get() const;  // null when there is none
    bool IsActive() const;
    bool IsCurrent() const;

    /// Active, not empty and not the current layer: it limits painting and is shown.
    bool IsUsed() const;
    ilTile GetBounds() const;  // in the mask's own coordinates
    void GetOffset(int& x, int& y) const;
    ilTile GetCanvasBounds() const;

    /// In the coordinates of the mask, which there is.
    ilTile OnMask(const ilTile& onCanvas) const;

    /// What limits an edit of the layer.
    EditLimit GetEditLimit(const Layer& layer) const;

private:
    LayerTree& tree_;
    Canvas& canvas_;
};
