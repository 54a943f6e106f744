#pragma once

#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilImage.h"
#include "platform/imaging/pages/ilTile.h"

class Canvas;
class CurrentLayer;
class ImagePlane;
class Layer;
class LayerStack;
class LayerStackView;
class LayerTree;
class PaintOps;
class Views;
struct DocumentProperties;

/// The update pass: damage comes in, recomposited tiles go out, to the image plane and the views.
class CanvasUpdate {
public:
    CanvasUpdate(LayerStack& stack, DocumentProperties& properties, LayerTree& tree, Canvas& canvas,
                 CurrentLayer& current, Views& views, ImagePlane& plane);

    bool GetNextUpdateTile(ilTile& tile);
    ilTile PreviewUpdateTile();

    /// Brings the damaged tiles of a target, or of the image plane, up to date.
    void UpdateImagePlaneBits(bool overlay, PaintOps* target);
    void UpdateImagePlaneBits(bool overlay = true);

    /// The whole canvas in an image of its own.
    qs::TempReference<ilImage> GetUpdateImagePlaneBits(bool overlay);

    /// Updates the image plane, then calls the views.
    void ForceUpdate();
    void UpdateViewer(LayerStackView* view);

    /// The same for a change by a command; the host hears of it.
    void ShowChange();

    /// A layer's content was changed from outside.
    void LayerContentChanged(Layer& layer, const qs::vector<ilTile>& tiles, bool isMoved);
    void CheckTimerBasedUpdate();

private:
    void ComposeTile(const ilTile& tile, bool overlay, PaintOps& target);
    void DrawOverlay(const ilTile& tile, PaintOps& target);
    void ShowPlane();

    LayerStack& stack_;
    DocumentProperties& properties_;
    LayerTree& tree_;
    Canvas& canvas_;
    CurrentLayer& current_;
    Views& views_;
    ImagePlane& plane_;
};
