#pragma once

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
