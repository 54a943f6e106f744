#pragma once

#include "stack/DocumentProperties.h"
#include "stack/canvas/Canvas.h"
#include "stack/canvas/CanvasUpdate.h"
#include "stack/canvas/CurrentLayer.h"
#include "stack/canvas/ImagePlane.h"
#include "stack/canvas/Redraw.h"
#include "stack/canvas/Views.h"
#include "stack/edits/ProxySession.h"
#include "stack/selection/SelectionMask.h"
#include "stack/tree/LayerTree.h"
#include "stack/tree/TransformGroups.h"

/// The state of one document, a room by subject. Each knows rooms that stand above itself in this list, and the stack
/// for what only a whole document can do; BecomeVersionOf says what a copy of a document takes along.
struct StackRooms {
    explicit StackRooms(LayerStack& owner) : stack(owner) {}
    StackRooms(LayerStack& owner, const qsOS::Uuid& instance) : stack(owner), tree(instance) {}
    StackRooms(const StackRooms&) = delete;
    StackRooms& operator=(const StackRooms&) = delete;

    /// What concerns several rooms; as LayerStack has it.
    void BecomeVersionOf(StackRooms& source);
    void TakePresentationFrom(const StackRooms& other);
    void TakeViewsFrom(StackRooms& other);
    void BecomeClosed() noexcept;
    void MarkAllStale() noexcept;
    void CountReleased(PageAccount& account) const;
    void Dump() const;

    LayerStack& stack;
    DocumentProperties properties;
    LayerTree tree;
    TransformGroups groups{stack, tree};
    Canvas canvas{stack, tree};
    SelectionMask selection{tree, canvas};
    CurrentLayer current{tree, canvas, selection};
    Views views{stack};
    ImagePlane plane{stack, tree, canvas, current, views};
    CanvasUpdate update{stack, properties, tree, canvas, current, views, plane};
    Redraw redraw{stack, tree, canvas, current, update};
    ProxySession proxy{stack, tree, canvas, current};
};
