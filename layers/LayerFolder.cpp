#include "layers/LayerFolder.h"

#include "layers/DocumentPort.h"
#include "layers/Layer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>

namespace {

int nextFolderNumber = 1;  // of the process; numbers are never used again

LayerFolder* AsFolder(LayerContainer* container)
{
    return container != nullptr ? container->AsLayerFolder() : nullptr;
}

}  // namespace

LayerFolder::LayerFolder() = default;

LayerFolder::LayerFolder(const PntHandle& handle) : LayerContainer(handle) {}

LayerFolder::~LayerFolder()
{
    Clear();
}

void LayerFolder::CreateDefaultName()
{
    char name[32];
    std::snprintf(name, sizeof name, "Folder-%d", nextFolderNumber++);
    SetLayerContainerName(name);
}

// --- copying and emptying ---

LayerContainer* LayerFolder::Clone()
{
    auto clone = std::make_unique<LayerFolder>(GetLayerContainerHandle());
    clone->Copy(*this);
    return clone.release();
}

void LayerFolder::Copy(const LayerFolder& source)
{
    if (&source == this)
        return;
    const bool wasLocked = IsLocked();
    const PntHandle remembered = cachedCurrent_;
    CopyWhole(source);
    SetLocked(wasLocked);
    cachedCurrent_ = remembered;
}

void LayerFolder::CopyWhole(const LayerFolder& source)
{
    if (&source == this)
        return;
    Clear();
    children_.reserve(source.children_.size());
    for (LayerContainer* child : source.children_) {
        LayerContainer* copy = nullptr;
        if (const LayerFolder* folder = AsFolder(child)) {
            auto made = std::make_unique<LayerFolder>(folder->GetLayerContainerHandle());
            made->CopyWhole(*folder);
            copy = made.release();
        } else {
            copy = child->Clone();
        }
        children_.push_back(copy);
        copy->AddRef();
    }
    SetLayerContainerHandle(source.GetLayerContainerHandle());
    SetProperties(source.GetProperties());
    cachedCurrent_ = source.cachedCurrent_;
}

void LayerFolder::Clear()
{
    // Emptied first: what a dying child asks of its folder no longer finds it.
    qs::vector<LayerContainer*> leaving;
    leaving.swap(children_);
    for (LayerContainer* child : leaving)
        child->Release();
    UpdateTimeStamp();
}

// --- adding and removing ---

void LayerFolder::InsertChild(int position, LayerContainer* container)
{
    const qs::Reference<LayerContainer> kept(container);  // deletes a new container when the list cannot grow
    children_.insert(children_.begin() + position, container);
    container->AddRef();
    UpdateTimeStamp();
}

bool LayerFolder::AddLayerContainer(LayerContainer* container, LayerContainer* ref, bool above)
{
    if (container == nullptr || container == this)
        return false;
    LayerFolder* holder = nullptr;
    if (LayerFolder* added = AsFolder(container); added != nullptr && added->FindLayerContainer(this, &holder))
        return false;
    if (ref == nullptr) {
        InsertChild(above ? GetSize() : 0, container);
        return true;
    }
    if (const int position = IndexOf(ref); position >= 0) {
        LayerFolder* refFolder = AsFolder(ref);
        if (refFolder != nullptr && !above) {
            UpdateTimeStamp();
            return refFolder->AddLayerContainer(container, nullptr, true);
        }
        InsertChild(above ? position + 1 : position, container);
        return true;
    }
    for (LayerContainer* child : children_) {
        LayerFolder* folder = AsFolder(child);
        if (folder != nullptr && folder->AddLayerContainer(container, ref, above)) {
            UpdateTimeStamp();
            return true;
        }
    }
    return false;
}

bool LayerFolder::AddLayerContainer(LayerContainer* container, const PntHandle& ref, bool above)
{
    return AddLayerContainer(container, GetLayerContainerFromHandle(ref), above);
}

bool LayerFolder::RemoveLayerContainer(LayerContainer* container)
{
    if (dynamic_cast<Layer*>(container) == nullptr && AsFolder(container) == nullptr)
        return false;
    UpdateTimeStamp();
    LayerFolder* holder = nullptr;
    if (!FindLayerContainer(container, &holder))
        return false;
    for (size_t i = 0; i < children_.size(); ++i) {
        LayerContainer* child = children_[i];
        if (child == container) {
            children_.erase(children_.begin() + static_cast<ptrdiff_t>(i));
            GetDocumentPort().ContainerRemoved(child->GetLayerContainerHandle());
            child->Release();
            return true;
        }
        LayerFolder* folder = AsFolder(child);
        if (folder == nullptr || !folder->RemoveLayerContainer(container))
            continue;
        if (folder->GetSize() == 0) {
            children_.erase(children_.begin() + static_cast<ptrdiff_t>(i));
            folder->Release();
        }
        return true;
    }
    return false;
}

// --- what concerns every member ---

bool LayerFolder::RemoveLayerFromOwnerLayer(LayerContainer* owner)
{
    bool removed = false;
    for (LayerContainer* child : children_)
        removed = child->RemoveLayerFromOwnerLayer(owner) || removed;
    if (removed)
        UpdateTimeStamp();
    return removed;
}

void LayerFolder::SetStencilCompositeDirty(bool dirty)
{
    for (LayerContainer* child : children_)
        child->SetStencilCompositeDirty(dirty);
}

void LayerFolder::Translate(int dx, int dy)
{
    for (LayerContainer* child : children_) {
        if (LayerFolder* folder = AsFolder(child)) {
            folder->Translate(dx, dy);
        } else if (Layer* layer = dynamic_cast<Layer*>(child)) {
            int x = 0;
            int y = 0;
            layer->GetOffset(x, y);
            const auto moved = [](int64_t from, int by) {
                return static_cast<int>(std::clamp<int64_t>(from + by, INT32_MIN, INT32_MAX));
            };
            layer->SetOffset(moved(x, dx), moved(y, dy), LayerStackTransform(), true);
        }
    }
}

bool LayerFolder::Scale(float xScale, float yScale, float xCenter, float yCenter)
{
    using qsLinear::AffineMatrix;
    if (!(xScale > 0 && yScale > 0 && std::isfinite(xCenter) && std::isfinite(yCenter)))
        return false;
    const AffineMatrix matrix = AffineMatrix::Translation(double{xCenter}, double{yCenter}) *
                                AffineMatrix::Scale(double{xScale}, double{yScale}) *
                                AffineMatrix::Translation(-double{xCenter}, -double{yCenter});
    qs::vector<LayerContainer*> contents;
    GetLCArray_FLATTEN(&contents);
    qs::vector<std::pair<qs::Reference<Layer>, LayerPicture>> scaled;
    for (LayerContainer* container : contents)
        if (Layer* layer = dynamic_cast<Layer*>(container); layer != nullptr && layer->GetImage()) {
            scaled.emplace_back(layer,
                                RebasePicture(layer->GetOriginalPicture(), matrix, {kFilterArea, kFilterBilinear}));
            if (!scaled.back().second)
                return false;
        }
    for (const auto& [layer, picture] : scaled) {
        layer->EndProxy();
        layer->ReplacePicture(picture, matrix);
    }
    return true;
}

void LayerFolder::VerifyAllLsHandle(const qsOS::Uuid& layerStack)
{
    SetLayerContainerHandle({layerStack, GetLayerContainerHandle().own});
    cachedCurrent_.layerStack = layerStack;
    for (LayerContainer* child : children_) {
        if (LayerFolder* folder = AsFolder(child))
            folder->VerifyAllLsHandle(layerStack);
        else if (Layer* layer = dynamic_cast<Layer*>(child))
            layer->VerifyAllLsHandle(layerStack);
    }
}

void LayerFolder::Debug()
{
    if (!IsDumpWanted())
        return;
    std::printf("\t==== LayerFolder(begin) [%s] (refcount:%d) ====\n", GetLayerContainerName(), GetRefCount());
    for (int i = 0; i < GetSize(); ++i) {
        LayerContainer* child = children_[static_cast<size_t>(i)];
        const PntHandle& handle = child->GetLayerContainerHandle();
        std::printf("\t\t[%d][%s,%s][%s][%s] (refcount:%d)\n", i, AsFolder(child) != nullptr ? "LF" : "L",
                    child->GetLayerContainerName(), handle.layerStack.asString().c_str(), handle.own.asString().c_str(),
                    child->GetRefCount());
        if (Layer* layer = dynamic_cast<Layer*>(child)) {
            std::printf("vvvvvvvv\n");
            layer->debug();
            std::printf("^^^^^^^^\n");
        }
    }
    std::printf("\t==== LayerFolder(end) [%s] ==== \n", GetLayerContainerName());
    for (LayerContainer* child : children_)
        if (LayerFolder* folder = AsFolder(child))
            folder->Debug();
}
