#include "layers/LayerIterator.h"

#include "layers/DocumentPort.h"
#include "layers/LayerEnums.h"

LayerIterator::LayerIterator(int layerStack, bool images, bool masks, bool stencils)
    : layerStack_(layerStack), images_(images), masks_(masks), stencils_(stencils)
{
    Reset();
}

PntHandle LayerIterator::Next()
{
    const int size = static_cast<int>(handles_.size());
    if (position_ < size)
        ++position_;
    return position_ < size ? handles_[static_cast<size_t>(position_)] : kNullHandle;
}

void LayerIterator::Reset()
{
    handles_.clear();
    position_ = -1;
    const auto append = [this](bool wanted, LayerMode mode) {
        if (!wanted)
            return;
        const qs::vector<PntHandle> found = GetDocumentPort().GetContainerHandles(layerStack_, mode);
        handles_.insert(handles_.end(), found.begin(), found.end());
    };
    append(images_, kLayerModeImage);
    append(masks_, kLayerModeMask);
    append(stencils_, kLayerModeStencil);
}

PntHandle LayerIterator::GetPrevLayer(const PntHandle& handle)
{
    const DocumentPort& port = GetDocumentPort();
    return port.IsHandleValid(handle) ? port.GetPreviousLayer(handle) : kNullHandle;
}

PntHandle LayerIterator::GetNextLayer(const PntHandle& handle)
{
    const DocumentPort& port = GetDocumentPort();
    return port.IsHandleValid(handle) ? port.GetNextLayer(handle) : kNullHandle;
}
