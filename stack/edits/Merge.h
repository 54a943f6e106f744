#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

class Bake;
class LayerFolder;
class LayerVisibility;
class MergeChoice;

/// Merges layers. A merge first makes its picture, which is all that can run out of memory, and then changes the
/// document.
class Merge : public DocumentEdit {
public:
    Merge(StackRooms& rooms, MergeChoice& choice, Bake& bake, LayerVisibility& visibility)
        : DocumentEdit(rooms), choice_(choice), bake_(bake), visibility_(visibility)
    {}

    void Layers(const PntHandle& upper, const PntHandle& lower, bool makeCurrent);
    void Folder(LayerFolder* folder);
    void All(bool visibleOnly);

private:
    void Receive(Layer& receiver, const qs::Reference<ilSmartImage>& picture, const qs::vector<Layer*>& merged);
    void RemoveMerged(Layer& receiver, const qs::vector<Layer*>& merged);

    MergeChoice& choice_;
    Bake& bake_;
    LayerVisibility& visibility_;
};
