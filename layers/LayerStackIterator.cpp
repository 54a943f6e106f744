#include "layers/LayerStackIterator.h"

#include "layers/DocumentPort.h"

LayerStackIterator::LayerStackIterator()
{
    Reset();
}

int LayerStackIterator::Next()
{
    if (remaining_ == 0)
        return -1;
    const int slot = GetDocumentPort().GetUsedSlotFrom(position_);
    if (slot < 0) {
        // Documents were closed meanwhile.
        remaining_ = 0;
        return -1;
    }
    --remaining_;
    position_ = slot + 1;
    return slot;
}

void LayerStackIterator::Reset()
{
    position_ = 0;
    count_ = GetDocumentPort().GetLayerStackCount();
    remaining_ = count_;
}
