#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/painter/PaintOps.h"

class Canvas;
class CurrentLayer;
class LayerStack;
class LayerTree;
class PageAccount;
class Views;

/// The picture that the views of a document show, with its painter; freed while nobody looks.
class ImagePlane {
public:
    ImagePlane(LayerStack& stack, LayerTree& tree, Canvas& canvas, CurrentLayer& current, Views& views);

    const qs::TempReference<ilSPMemoryImg>& Get() const { return plane_; }
    const qs::Reference<PaintOps>& GetPainter() const { return painter_; }

    bool SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip);

    /// Takes over canvas and plane of another document, which is left without.
    void TakeFrom(ImagePlane& source, bool notify, bool updateClip);

    /// Shares the plane of `other` when there is none here and the canvases agree.
    void Share(const ImagePlane& other);

    /// Frees and remakes what a document that is not shown does without.
    void Allocate();
    void Free();
    void CountReleased(PageAccount& account) const;

private:
    LayerStack& stack_;
    LayerTree& tree_;
    Canvas& canvas_;
    CurrentLayer& current_;
    Views& views_;
    qs::TempReference<ilSPMemoryImg> plane_;
    qs::Reference<PaintOps> painter_;
};
