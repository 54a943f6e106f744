#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

class LayerFolder;

/// What two layers become.
struct MergedPicture {
    qs::Reference<ilSmartImage> image;  // null: the lower layer's, as it is
    LayerBlendMode blend = kBlendNormal;
    bool isTrue = true;  // false: no layer can stand for both
};

bool IsRaster(const Layer& layer);

/// The visible masks of a folder, bottom to top. Whether the folder is active is nothing to masks.
qs::vector<Layer*> ShownMasksOf(const LayerFolder& folder);

/// Who merges with whom, and into which picture. Changes nothing.
class MergeChoice : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    /// A hard-linked stencil stands for its owner.
    Layer* FindLayer(const PntHandle& handle) const;
    bool CanMerge(const Layer* upper, const Layer* lower) const;
    MergedPicture FindPicture(Layer& upper, Layer& lower);

    /// The containers composed without the others.
    qs::Reference<ilSmartImage> ComposeApart(const qs::vector<PntHandle>& containers);

    /// Who would get the pixels of a merge; the null handle when nothing would be merged.
    PntHandle GetReceiver(const PntHandle& upper, const PntHandle& lower);
    PntHandle GetFolderReceiver(const LayerFolder* folder) const;
    PntHandle GetReceiverOfAll(bool visibleOnly) const;

private:
    bool AreNormalNeighbours(const Layer& upper, const Layer& lower) const;
    qs::Reference<ilSmartImage> ComposeWith(const PntHandle& upper, const PntHandle& lower,
                                            const MergedPicture* merged);
    bool HasPixelsOnCanvas(Layer& layer) const;
};
