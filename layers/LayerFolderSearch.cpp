#include "layers/Layer.h"
#include "layers/LayerFolder.h"
#include "platform/imaging/pages/PageWalk.h"

#include <algorithm>
#include <cmath>

namespace {

const LayerFolder* AsFolder(LayerContainer* container)
{
    return container != nullptr ? container->AsLayerFolder() : nullptr;
}

/// The points no farther than `reach` pixels from (x, y).
struct Disc {
    int64_t x;
    int64_t y;
    double reach;

    bool Contains(int64_t px, int64_t py) const
    {
        const double dx = static_cast<double>(px - x);
        const double dy = static_cast<double>(py - y);
        return dx * dx + dy * dy <= reach * reach;
    }
    bool Meets(const ilTile& tile) const
    {
        return Contains(std::clamp<int64_t>(x, tile.x, tile.Right() - 1),
                        std::clamp<int64_t>(y, tile.y, tile.Bottom() - 1));
    }
    ilTile GetBounds() const
    {
        const auto radius = static_cast<int64_t>(reach);
        return ilTileFromEdges(x - radius, y - radius, x + radius + 1, y + radius + 1);
    }
};

/// Whether `part` of a page has a pixel of alpha above 0 within the disc.
bool HasPixelWithin(const Page& page, const ilTile& part, const Disc& disc)
{
    const PageContent content = page.GetContent();
    if (content == PageContent::Transparent || !disc.Meets(part))
        return false;
    if (content == PageContent::Opaque)
        return true;
    const int channels = page.GetNumChannels();
    for (int row = part.y; row < part.Bottom(); ++row)
        for (int column = part.x; column < part.Right(); ++column)
            if (page.GetBytes()[(PageOffsetOf(row) * kPageSize + PageOffsetOf(column)) * channels + channels - 1] !=
                    0 &&
                disc.Contains(column, row))
                return true;
    return false;
}

/// Whether the image has a pixel of alpha above 0 no farther than `tolerance` pixels from (x, y). Costs the stored
/// pages at most, however far it looks.
bool HasPixelNear(const ilMIOImage& image, int64_t x, int64_t y, float tolerance)
{
    constexpr float kWidest = 1 << 20;  // farther than any canvas reaches
    const Disc disc{x, y, tolerance > 0 ? std::min(tolerance, kWidest) : 0.0F};
    const bool fillCounts = image.GetFillValue().GetAlpha() != 0;
    const ilTile near = ilTileIntersection(image.GetBounds(), disc.GetBounds());
    if (!fillCounts) {
        bool found = false;
        image.VisitPages(near, [&](int px, int py, const Page& page) {
            found = found || HasPixelWithin(page, ilTileIntersection(near, PageTile(px, py)), disc);
        });
        return found;
    }
    if (near != disc.GetBounds())
        return true;  // it reaches where nothing is stored
    const int right = PageIndexOf(static_cast<int>(near.Right() - 1));
    const int bottom = PageIndexOf(static_cast<int>(near.Bottom() - 1));
    for (int py = PageIndexOf(near.y); py <= bottom; ++py)
        for (int px = PageIndexOf(near.x); px <= right; ++px) {
            const ilTile part = ilTileIntersection(near, PageTile(px, py));
            const PageReader page = image.ReadPage(px, py);
            if (page.IsMissing() ? disc.Meets(part) : HasPixelWithin(*page.GetPage(), part, disc))
                return true;
        }
    return false;
}

}  // namespace

// --- contents ---

int LayerFolder::GetSize() const
{
    return static_cast<int>(children_.size());
}

int LayerFolder::GetLayerContainerSize() const
{
    int size = GetSize();
    for (LayerContainer* child : children_)
        if (const LayerFolder* folder = AsFolder(child))
            size += folder->GetLayerContainerSize();
    return size;
}

void LayerFolder::GetLCArray_FLATTEN(qs::vector<LayerContainer*>* out) const
{
    for (LayerContainer* child : children_) {
        out->push_back(child);
        if (const LayerFolder* folder = AsFolder(child))
            folder->GetLCArray_FLATTEN(out);
    }
}

qs::vector<PntHandle> LayerFolder::GetLCHArray(bool directOnly) const
{
    qs::vector<LayerContainer*> members = children_;
    if (!directOnly) {
        members.clear();
        GetLCArray_FLATTEN(&members);
    }
    qs::vector<PntHandle> handles;
    handles.reserve(members.size());
    for (const LayerContainer* member : members)
        handles.push_back(member->GetLayerContainerHandle());
    return handles;
}

int LayerFolder::IndexOf(const LayerContainer* container) const
{
    const auto found = std::find(children_.begin(), children_.end(), container);
    return found == children_.end() ? -1 : static_cast<int>(found - children_.begin());
}

// --- ends and neighbours ---

LayerContainer* LayerFolder::GetBottomLayerContainer(bool shallow) const
{
    LayerContainer* bottom = children_.empty() ? nullptr : children_.front();
    while (!shallow && AsFolder(bottom) != nullptr && AsFolder(bottom)->GetSize() > 0)
        bottom = AsFolder(bottom)->children_.front();
    return bottom;
}

LayerContainer* LayerFolder::GetTopLayerContainer(bool shallow) const
{
    LayerContainer* top = children_.empty() ? nullptr : children_.back();
    while (!shallow && AsFolder(top) != nullptr && AsFolder(top)->GetSize() > 0)
        top = AsFolder(top)->children_.back();
    return top;
}

Layer* LayerFolder::GetBottomLayer() const
{
    return dynamic_cast<Layer*>(GetBottomLayerContainer(false));
}

Layer* LayerFolder::GetTopLayer() const
{
    return dynamic_cast<Layer*>(GetTopLayerContainer(false));
}

LayerContainer* LayerFolder::GetNeighbour(const LayerContainer* container, int step, bool layersOnly) const
{
    qs::vector<LayerContainer*> members;
    GetLCArray_FLATTEN(&members);
    const ptrdiff_t size = std::ssize(members);
    ptrdiff_t i = std::find(members.begin(), members.end(), container) - members.begin();
    if (i == size)
        return nullptr;
    for (i += step; i >= 0 && i < size; i += step) {
        LayerContainer* neighbour = members[static_cast<size_t>(i)];
        if (!layersOnly || AsFolder(neighbour) == nullptr)
            return neighbour;
    }
    return nullptr;
}

LayerContainer* LayerFolder::GetNextLayerContainer(const LayerContainer* container) const
{
    return GetNeighbour(container, 1, false);
}

LayerContainer* LayerFolder::GetPreviousLayerContainer(const LayerContainer* container) const
{
    return GetNeighbour(container, -1, false);
}

Layer* LayerFolder::GetNextLayer(const Layer* layer) const
{
    return dynamic_cast<Layer*>(GetNeighbour(layer, 1, true));
}

Layer* LayerFolder::GetPreviousLayer(const Layer* layer) const
{
    return dynamic_cast<Layer*>(GetNeighbour(layer, -1, true));
}

// --- looking up ---

LayerContainer* LayerFolder::FindChild(const PntHandle& handle) const
{
    constexpr size_t kFewChildren = 16;  // looked through sooner than hinted at
    if (children_.size() > kFewChildren)
        if (LayerContainer* hinted = hints_.Find(children_, handle))
            return hinted;
    const auto found = std::find_if(children_.begin(), children_.end(), [&](const LayerContainer* child) {
        return child->GetLayerContainerHandle() == handle;
    });
    if (found == children_.end())
        return nullptr;
    if (children_.size() > kFewChildren)
        hints_.Rebuild(children_);
    return *found;
}

LayerContainer* LayerFolder::GetLayerContainerFromHandle(const PntHandle& handle) const
{
    if (GetLayerContainerHandle() == handle)
        return const_cast<LayerFolder*>(this);  // a folder hands itself out as it does its children
    if (LayerContainer* child = FindChild(handle))
        return child;
    for (LayerContainer* child : children_)
        if (const LayerFolder* folder = AsFolder(child))
            if (LayerContainer* found = folder->GetLayerContainerFromHandle(handle))
                return found;
    return nullptr;
}

bool LayerFolder::FindLayerContainer(const LayerContainer* container, LayerFolder** where)
{
    *where = IndexOf(container) >= 0 ? this : nullptr;
    for (size_t i = 0; i < children_.size() && *where == nullptr; ++i)
        if (LayerFolder* folder = children_[i]->AsLayerFolder())
            folder->FindLayerContainer(container, where);
    return *where != nullptr;
}

bool LayerFolder::FindLayerContainer(const LayerFolder* folder) const
{
    return IndexOf(folder) >= 0;
}

int LayerFolder::LCArrayIndex(const PntHandle& handle, int multiplier, int base) const
{
    for (int i = 0; i < GetSize(); ++i) {
        LayerContainer* child = children_[static_cast<size_t>(i)];
        if (child->GetLayerContainerHandle() == handle)
            return i * multiplier + base;
        if (const LayerFolder* folder = AsFolder(child)) {
            const int key = folder->LCArrayIndex(handle, 1, 1000 * i);
            if (key != -1)
                return key;
        }
    }
    return -1;
}

bool LayerFolder::IsBelow(const PntHandle& a, const PntHandle& b) const
{
    return a != b && LCArrayIndex(a, 1000, 0) > LCArrayIndex(b, 1000, 0);
}

bool LayerFolder::IsAbove(const PntHandle& a, const PntHandle& b) const
{
    return a != b && LCArrayIndex(a, 1000, 0) < LCArrayIndex(b, 1000, 0);
}

// --- masks, stencils, owners ---

void LayerFolder::GetMaskLayers(qs::vector<PntHandle>& out, const PntHandle& owner) const
{
    for (LayerContainer* child : children_) {
        if (const LayerFolder* folder = AsFolder(child))
            folder->GetMaskLayers(out, owner);
        else if (child->isMask() && child->HasOwner(owner))
            out.push_back(child->GetLayerContainerHandle());
    }
}

void LayerFolder::GetStencilLayers(qs::vector<PntHandle>& out, const PntHandle& owner) const
{
    for (LayerContainer* child : children_) {
        if (const LayerFolder* folder = AsFolder(child))
            folder->GetMaskLayers(out, owner);
        else if (child->isStencil() && child->HasOwner(owner))
            out.push_back(child->GetLayerContainerHandle());
    }
}

qs::vector<PntHandle> LayerFolder::GetOwnerArray(const PntHandle& handle) const
{
    const LayerContainer* container = GetLayerContainerFromHandle(handle);
    return container != nullptr ? container->GetOwnerLayerArray() : qs::vector<PntHandle>();
}

// --- hits ---

qs::vector<Layer*> LayerFolder::FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const
{
    qs::vector<Layer*> hits;
    CollectHits(hits, x, y, includeHidden, includeLocked, tolerance);
    return hits;
}

void LayerFolder::CollectHits(qs::vector<Layer*>& hits, int x, int y, bool includeHidden, bool includeLocked,
                              float tolerance) const
{
    for (auto child = children_.rbegin(); child != children_.rend(); ++child) {
        if (const LayerFolder* folder = AsFolder(*child)) {
            if (includeHidden || folder->isActive())
                folder->CollectHits(hits, x, y, includeHidden, includeLocked, tolerance);
            continue;
        }
        Layer* layer = dynamic_cast<Layer*>(*child);
        if (layer == nullptr || (!includeHidden && !layer->isVisible()) || (!includeLocked && layer->IsLocked()))
            continue;
        const qs::TempReference<ilMIOImage> image = layer->GetImage();
        if (image &&
            HasPixelNear(*image, int64_t{x} - layer->getXOffset(), int64_t{y} - layer->getYOffset(), tolerance))
            hits.push_back(layer);
    }
}

// --- the remembered layer ---

bool LayerFolder::HasCacheCurrentLC() const
{
    return cachedCurrent_ != kNullHandle && GetLayerContainerFromHandle(cachedCurrent_) != nullptr;
}

Layer* LayerFolder::GetCacheCurrentLC() const
{
    return dynamic_cast<Layer*>(GetLayerContainerFromHandle(cachedCurrent_));
}
