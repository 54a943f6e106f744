#include "layers/LayerContainer.h"

#include <cstring>

LayerContainer::LayerContainer() : LayerContainer(PntHandle()) {}

LayerContainer::LayerContainer(const PntHandle& handle) : handle_(handle)
{
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
    const size_t length = strnlen(name, properties_.name.size() - 1);
    std::memmove(properties_.name.data(), name, length);
    std::memset(properties_.name.data() + length, 0, properties_.name.size() - length);
}

void LayerContainer::UpdateTimeStamp()
{
    timeStamp_ = qsOS::CurrentFileTime();
}
