#include "stack/LayerStack.h"

#include "layers/DocumentPort.h"
#include "stack/LayerStackPorts.h"
#include "stack/StackPort.h"

#include <cstdio>

namespace {

/// Eight gigabytes of image plane: far above any picture that is painted by hand, far below what would exhaust the
/// address space.
int64_t maxPixelCount = int64_t{1} << 31;

}  // namespace

LayerStack::LayerStack(qsOS::Uuid instance, int width, int height)
    : imageFolder_(new LayerFolder), maskFolder_(new LayerFolder), stencilFolder_(new LayerFolder)
{
    instance_ = instance;
    InstallStackPorts();
    composite_.SetOwner(this);
    for (LayerFolder* folder : TopFolders())
        folder->VerifyAllLsHandle(instance_);
    const bool isAcceptable = IsAcceptableSize(width, height);
    SetSize({0, 0, isAcceptable ? width : 1, isAcceptable ? height : 1}, false, true, true);
    backgroundColor_ = GetStackPort().DefaultBackgroundColor();
    Notify(true);
    CleanStencilImg_spf();
    ClearSelectionMask(true);
}

LayerStack::LayerStack(qs::Reference<LayerStack> source)
    : imageFolder_(new LayerFolder(kNullHandle)), maskFolder_(new LayerFolder(kNullHandle)),
      stencilFolder_(new LayerFolder(kNullHandle))
{
    InstallStackPorts();
    composite_.SetOwner(this);
    if (!source)
        return;
    source->EndProxy();
    LayerStackState::operator=(*source);
    imageFolder_->CopyWhole(*source->imageFolder_);
    maskFolder_->CopyWhole(*source->maskFolder_);
    stencilFolder_->CopyWhole(*source->stencilFolder_);
    if (source->selectionMask_)
        selectionMask_.reset(static_cast<Layer*>(source->selectionMask_->Clone()));
    currentLayer_ = GetLayerFromHandle(source->GetCurrentLayerContainerHandle());
    DropLostGroupMembers();
    // Last: from here on the source is without its plane, tree and caches, so nothing that can fail may follow.
    source->treeIsStale_ = true;
    composite_.TakeFrom(source->composite_);
    CopyImagePlane(source, true, true, false);
}

LayerStack::LayerStack(MIOLayerStack_sr*)
    : imageFolder_(new LayerFolder), maskFolder_(new LayerFolder), stencilFolder_(new LayerFolder)
{
    instance_ = qsOS::Uuid::generate();
    InstallStackPorts();
    composite_.SetOwner(this);
    for (LayerFolder* folder : TopFolders())
        folder->VerifyAllLsHandle(instance_);
}

LayerStack::~LayerStack() = default;

bool LayerStack::IsAcceptableSize(int64_t width, int64_t height)
{
    return width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide && width * height <= maxPixelCount;
}

int64_t LayerStack::GetMaxPixelCount()
{
    return maxPixelCount;
}

void LayerStack::SetMaxPixelCount(int64_t count)
{
    if (count >= 1)
        maxPixelCount = count;
}

void LayerStack::SetResolution(int x, int y)
{
    resolutionX_ = x;
    resolutionY_ = y;
}

void LayerStack::GetResolution(int& x, int& y) const
{
    x = resolutionX_;
    y = resolutionY_;
}

void LayerStack::SetSymmetry(Symmetry* symmetry)
{
    if (symmetry != symmetry_.get())
        symmetry_.reset(symmetry);
}

void LayerStack::SetShowCurrentLayerOnly(bool on)
{
    if (on == showCurrentLayerOnly_)
        return;
    showCurrentLayerOnly_ = on;
    DamageCanvas();
}

void LayerStack::SetMaskDisable(bool disable)
{
    if (disable == maskDisable_)
        return;
    maskDisable_ = disable;
    maskIsStale_ = true;
    DamageCanvas();
}

void LayerStack::SetMaskVisible(bool visible)
{
    if (visible == maskVisible_)
        return;
    maskVisible_ = visible;
    maskIsStale_ = true;
    DamageCanvas();
}

void LayerStack::SwapProperties(DocumentProperties& properties) noexcept
{
    std::swap(static_cast<DocumentProperties&>(*this), properties);
    maskIsStale_ = true;
}

void LayerStack::Notify(bool changed)
{
    GetStackPort().StackEdited(changed);
    GetStackPort().StackChanged(changed);
}

void LayerStack::DropLostGroupMembers()
{
    for (qs::vector<PntHandle>& group : transformGroups_)
        std::erase_if(group, [&](const PntHandle& handle) { return GetLayerContainerFromHandle(handle) == nullptr; });
}

void LayerStack::debug()
{
    if (!IsDumpWanted())
        return;
    std::printf("=================== LS (begin) ===================\n");
    std::printf(">>> LsInstanceHandle[%s]\n", instance_.asString().c_str());
    std::printf("IMAGE FOLDER\n");
    imageFolder_->Debug();
    std::printf("MASK FOLDER\n");
    maskFolder_->Debug();
    std::printf("STENCIL FOLDER\n");
    stencilFolder_->Debug();
    std::printf("=================== TRANSFORM ===================\n");
    for (const qs::vector<PntHandle>& group : transformGroups_) {
        std::printf("\t[Transform] <start>\n");
        for (const PntHandle& handle : group) {
            const LayerContainer* container = GetLayerContainerFromHandle(handle);
            std::printf("\t\t lh[%s][%s]", handle.layerStack.asString().c_str(), handle.own.asString().c_str());
            std::printf(" Layer[%s]\n", container != nullptr ? container->GetLayerContainerName() : "NONE");
        }
        std::printf("\t[Transform] <end>\n");
    }
    std::printf("=================== LS (end) ===================\n");
}
