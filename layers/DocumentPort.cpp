#include "layers/DocumentPort.h"

namespace {

/// A world without documents and without a host.
constexpr DocumentPort kNeutralPort = {
    .FindLayer = [](const PntHandle&) -> Layer* { return nullptr; },
    .GetMaskLayers = [](const PntHandle&) { return qs::vector<PntHandle>(); },
    .GetStencilLayers = [](const PntHandle&) { return qs::vector<PntHandle>(); },
    .IsHandleValid = [](const PntHandle&) { return false; },
    .GetPreviousLayer = [](const PntHandle&) { return kNullHandle; },
    .GetNextLayer = [](const PntHandle&) { return kNullHandle; },
    .GetContainerHandles = [](int, int) { return qs::vector<PntHandle>(); },
    .GetLayerStackCount = [] { return 0; },
    .GetUsedSlotFrom = [](int) { return -1; },
    .LayerImageChanged = [](const PntHandle&) {},
    .ContainerRemoved = [](const PntHandle&) {},
    .GetDebugLevel = [] { return 0; },
};

constinit DocumentPort thePort = kNeutralPort;

}  // namespace

DocumentPort& GetDocumentPort()
{
    return thePort;
}

bool IsDumpWanted()
{
    return thePort.GetDebugLevel() == kDumpDebugLevel;
}
