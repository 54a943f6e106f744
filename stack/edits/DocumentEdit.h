#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilTile.h"

class Canvas;
class CanvasUpdate;
class CurrentLayer;
class ImagePlane;
class Layer;
class LayerStack;
class LayerTree;
class ProxySession;
class Redraw;
class SelectionMask;
class TransformGroups;
struct DocumentProperties;
struct StackRooms;

/// Base of what changes a document: the rooms that it works on, and what every edit begins and ends with.
class DocumentEdit {
public:
    explicit DocumentEdit(StackRooms& rooms);
    DocumentEdit(const DocumentEdit&) = delete;
    DocumentEdit& operator=(const DocumentEdit&) = delete;

protected:
    ~DocumentEdit() = default;

    /// Ends a proxy and takes in what was painted.
    void BeginEdit();
    void EndStructuralEdit(bool redraw);

    /// The same around a change of one raster layer's pixels; null when there is nothing to edit.
    qs::Reference<Layer> BeginPixelEdit(const PntHandle& handle);
    void EndPixelEdit(Layer& layer, const ilTile& canvasTile);

    LayerStack& stack_;
    DocumentProperties& properties_;
    LayerTree& tree_;
    TransformGroups& groups_;
    Canvas& canvas_;
    SelectionMask& selection_;
    CurrentLayer& current_;
    ImagePlane& plane_;
    CanvasUpdate& update_;
    Redraw& redraw_;
    ProxySession& proxy_;
};
