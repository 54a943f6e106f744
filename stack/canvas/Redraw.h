#pragma once

#include "layers/LayerEnums.h"
#include "layers/PntHandle.h"

class Canvas;
class CanvasUpdate;
class CurrentLayer;
class LayerStack;
class LayerTree;

/// Redraws the whole canvas after a change, with as much of the composite made anew as the change asks for.
class Redraw {
public:
    Redraw(LayerStack& stack, LayerTree& tree, Canvas& canvas, CurrentLayer& current, CanvasUpdate& update)
        : stack_(stack), tree_(tree), canvas_(canvas), current_(current), update_(update)
    {}

    void EntireCanvas();
    void RebuildMask();
    void RebuildAll();

    /// A container of that mode left the document, or entered it.
    void RebuildWithout(LayerMode mode, const PntHandle& handle);

    /// A container changed.
    void Refresh(const PntHandle& handle, bool rebuildCache);
    void AfterGeometryChange();

private:
    void Prepare();

    LayerStack& stack_;
    LayerTree& tree_;
    Canvas& canvas_;
    CurrentLayer& current_;
    CanvasUpdate& update_;
};
