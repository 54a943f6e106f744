#include "layers/DocumentPort.h"
#include "layers/Layer.h"

#include <algorithm>
#include <cstdio>

namespace {

void PrintConnected(const qs::vector<PntHandle>& handles)
{
    for (const PntHandle& handle : handles) {
        const Layer* layer = GetDocumentPort().FindLayer(handle);
        std::printf("\t id[%s][%s] name[%s]\n", handle.layerStack.asString().c_str(), handle.own.asString().c_str(),
                    layer != nullptr ? layer->GetLayerContainerName() : "NONE");
    }
}

}  // namespace

bool Layer::AddOwnerLayer(Layer* owner, bool hardLink)
{
    if (owner == nullptr || hardLinkToOwner_ || HasOwner(owner->GetLayerContainerHandle()))
        return false;
    hardLinkToOwner_ = hardLink;
    owners_.push_back(owner->GetLayerContainerHandle());
    owner->SetStencilCompositeDirty(true);
    return true;
}

bool Layer::RemoveLayerFromOwnerLayer(LayerContainer* owner)
{
    if (owner == nullptr || hardLinkToOwner_)
        return false;
    const auto found = std::find(owners_.begin(), owners_.end(), owner->GetLayerContainerHandle());
    if (found == owners_.end())
        return false;
    owners_.erase(found);
    owner->SetStencilCompositeDirty(true);
    return true;
}

bool Layer::ReplaceOwnerLayer(const PntHandle& from, Layer& to)
{
    const auto found = std::find(owners_.begin(), owners_.end(), from);
    if (found == owners_.end())
        return false;
    if (from != to.GetLayerContainerHandle() && HasOwner(to.GetLayerContainerHandle()))
        owners_.erase(found);
    else
        *found = to.GetLayerContainerHandle();
    to.SetStencilCompositeDirty(true);
    return true;
}

bool Layer::HasOwner(const PntHandle& owner) const
{
    return std::find(owners_.begin(), owners_.end(), owner) != owners_.end();
}

void Layer::SetStencilCompositeDirty(bool dirty)
{
    if (!isStencil()) {
        stencilCompositeDirty_ = dirty;
        return;
    }
    for (const PntHandle& handle : owners_)
        if (Layer* owner = GetDocumentPort().FindLayer(handle))
            owner->stencilCompositeDirty_ = dirty;
}

const Layer* Layer::FindVisibilityOwner() const
{
    // Nothing keeps two layers from being hard-linked to each other, so the walk is bounded.
    constexpr int kMostLinks = 16;
    const Layer* layer = this;
    for (int i = 0; i < kMostLinks && layer->hardLinkToOwner_ && !layer->owners_.empty(); ++i) {
        const Layer* owner = GetDocumentPort().FindLayer(layer->owners_.front());
        if (owner == nullptr)
            break;
        layer = owner;
    }
    return layer;
}

void Layer::VerifyAllLsHandle(const qsOS::Uuid& layerStack)
{
    SetLayerContainerHandle({layerStack, GetLayerContainerHandle().own});
    for (PntHandle& owner : owners_)
        owner.layerStack = layerStack;
}

void Layer::debug()
{
    if (!IsDumpWanted())
        return;
    const PntHandle& handle = GetLayerContainerHandle();
    std::printf("Layer[%s] \tlh[%s][%s] active[%d]\n", GetLayerContainerName(), handle.layerStack.asString().c_str(),
                handle.own.asString().c_str(), isVisible() ? 1 : 0);
    std::printf("\t Connected Mask\n");
    PrintConnected(GetDocumentPort().GetMaskLayers(handle));
    std::printf("\t Connected Owner\n");
    PrintConnected(owners_);
}
