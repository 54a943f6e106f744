#pragma once

#include "layers/LayerPicture.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/imaging/transform/FilterMethod.h"
#include "stack/LayerStack.h"
#include "stack/edits/DocumentEdit.h"

/// Maps a whole document to another canvas: layers, masks, stencils and the selection alike.
class DocumentTransforms : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    bool Scale(int width, int height, FilterMethod minify, FilterMethod magnify);
    bool Scale(double xFactor, double yFactor, FilterMethod minify, FilterMethod magnify);
    bool Resize(int width, int height, LayerStack::Anchor anchor);
    bool Resize(const ilTile& canvas);
    bool Rotate(double angleDeg, FilterMethod minify, FilterMethod magnify);
    bool Flip(bool horizontal, bool vertical);
    bool Crop(const ilTile& canvasTile);

private:
    bool Transform(const qsLinear::AffineMatrix& matrix, int64_t width, int64_t height,
                   const TransformFilters& filters);
};
