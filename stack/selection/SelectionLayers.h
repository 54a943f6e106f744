#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

class Layer;
class SelectionImages;

/// Selects by what layers hold, and copies what is selected of a layer.
class SelectionLayers : public DocumentEdit {
public:
    SelectionLayers(StackRooms& rooms, SelectionImages& images) : DocumentEdit(rooms), images_(images) {}

    void Add(Layer* layer, bool rebuild);
    void Subtract(Layer* layer, bool rebuild);
    void Take(Layer* layer, bool rebuild);
    qs::TempReference<ilSmartImage> Copy(Layer* layer);

private:
    SelectionImages& images_;
};
