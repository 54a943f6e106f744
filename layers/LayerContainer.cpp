#include "layers/LayerContainer.h"

#include <cstring>

LayerContainer::LayerContainer() : LayerContainer(PntHandle()) {}

LayerContainer::LayerContainer(const PntHandle& handle) : handle_(handle)
{
    SetLayerContainerName("NONE");
    UpdateTimeStamp();
}

LayerContainer::~LayerContainer() = default;

void LayerContainer::GenerateUUID()
{
    handle_ = PntHandle();
}

void LayerContainer::SetLayerContainerName(const char* name)
{
    if (name == nullptr)
        name = "__NULL LAYER NAME__";
    // The name may be this container's own: bytes are moved, not copied.
    const size_t length = strnlen(name, kNameSize - 1);
    std::memmove(name_, name, length);
    std::memset(name_ + length, 0, kNameSize - length);
}

void LayerContainer::UpdateTimeStamp()
{
    timeStamp_ = qsOS::CurrentFileTime();
}
