#include "stack/StackRooms.h"

#include "layers/DocumentPort.h"
#include "layers/Layer.h"
#include "platform/imaging/pages/PageAccount.h"

#include <cstdio>

namespace {

void CountReleasedFolder(const LayerFolder& folder, PageAccount& account)
{
    for (const LayerContainer* child : folder.GetLCArray()) {
        if (!account.Drop(child))
            continue;
        if (const auto* layer = dynamic_cast<const Layer*>(child))
            layer->CountReleased(account);
        else if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            CountReleasedFolder(*inner, account);
    }
}

void FreeCachesIn(const LayerFolder& folder) noexcept
{
    for (LayerContainer* child : folder.GetLCArray())
        if (auto* layer = dynamic_cast<Layer*>(child))
            layer->FreeCacheData();
        else if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            FreeCachesIn(*inner);
}

}  // namespace

void StackRooms::BecomeVersionOf(StackRooms& source)
{
    properties = source.properties;
    canvas.CopyState(source.canvas);
    tree.CopyWhole(source.tree);
    groups.CopyPresent(source.groups);
    // Last: from here on the source is without its plane, tree and caches, so nothing that can fail may follow.
    canvas.TakeCompositeFrom(source.canvas);
    plane.TakeFrom(source.plane, true, false);
}

void StackRooms::TakePresentationFrom(const StackRooms& other)
{
    plane.Share(other.plane);
    // Who suspended the document holds a handle, whatever version of it answers to that.
    if (tree.GetInstance() == other.tree.GetInstance())
        canvas.TakeSuspensionFrom(other.canvas);
}

void StackRooms::TakeViewsFrom(StackRooms& other)
{
    views.TakeFrom(other.views);
    if (tree.GetCurrent() == nullptr)  // nothing is composed then: what the views show may be another document's
        views.DamageTile(canvas.GetSize());
}

void StackRooms::BecomeClosed() noexcept
{
    views.Clear();
    plane.Free();
    for (const LayerFolder* folder : tree.TopFolders())
        FreeCachesIn(*folder);
    if (Layer* mask = tree.GetSelectionMask())
        mask->FreeCacheData();
    current.FreeScratch();
}

void StackRooms::MarkAllStale() noexcept
{
    canvas.DistrustCaches();
    current.ForgetPainter();  // it may be bound to another image, or clipped to another selection
}

void StackRooms::CountReleased(PageAccount& account) const
{
    for (const LayerFolder* folder : tree.TopFolders())
        if (account.Drop(folder))
            CountReleasedFolder(*folder, account);
    if (account.Drop(tree.GetSelectionMask()))
        tree.GetSelectionMask()->CountReleased(account);
    plane.CountReleased(account);
}

void StackRooms::Dump() const
{
    if (!IsDumpWanted())
        return;
    std::printf("=================== LS (begin) ===================\n");
    std::printf(">>> LsInstanceHandle[%s]\n", tree.GetInstance().asString().c_str());
    std::printf("IMAGE FOLDER\n");
    tree.GetImageFolder()->Debug();
    std::printf("MASK FOLDER\n");
    tree.GetMaskFolder()->Debug();
    std::printf("STENCIL FOLDER\n");
    tree.GetStencilFolder()->Debug();
    std::printf("=================== TRANSFORM ===================\n");
    for (const qs::vector<PntHandle>& group : groups.Get()) {
        std::printf("\t[Transform] <start>\n");
        for (const PntHandle& handle : group) {
            const LayerContainer* container = tree.GetLayerContainerFromHandle(handle);
            std::printf("\t\t lh[%s][%s]", handle.layerStack.asString().c_str(), handle.own.asString().c_str());
            std::printf(" Layer[%s]\n", container != nullptr ? container->GetLayerContainerName() : "NONE");
        }
        std::printf("\t[Transform] <end>\n");
    }
    std::printf("=================== LS (end) ===================\n");
}
