#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"

/// Walks the containers of one open document as they were when the walk began, by kind: image layers, masks, stencils,
/// each bottom to top, folders right before their contents.
class PAINTLAYER_EXPORT LayerIterator {
public:
    LayerIterator(int layerStack, bool images, bool masks, bool stencils);

    /// The next container; the null handle after the last one.
    PntHandle Next();

    /// Begins again with what the document holds now.
    void Reset();

    /// The neighbours of a layer in its own document; the null handle when there is none.
    static PntHandle GetPrevLayer(const PntHandle& handle);
    static PntHandle GetNextLayer(const PntHandle& handle);

private:
    qs::vector<PntHandle> handles_;
    int position_ = -1;
    int layerStack_;
    bool images_;
    bool masks_;
    bool stencils_;
};
