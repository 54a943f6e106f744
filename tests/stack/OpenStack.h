#pragma once

#include "layers/DocumentPort.h"
#include "stack/LayerStack.h"
#include "stack/LayerStackView.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

/// One document behind the ports, as a manager would register it, with everything that the host is told written down.
/// One at a time.
class OpenStack {
public:
    explicit OpenStack(int width = 200, int height = 150)
        : savedDocumentPort_(GetDocumentPort()), savedStackPort_(GetStackPort())
    {
        current = this;
        DocumentPort& document = GetDocumentPort();
        document.FindLayer = [](const PntHandle& handle) { return current->stack->GetLayerFromHandle(handle); };
        document.GetMaskLayers = [](const PntHandle& owner) { return current->stack->getMaskLayers(owner); };
        document.GetStencilLayers = [](const PntHandle& owner) { return current->stack->getStencilLayers(owner); };
        document.ContainerRemoved = [](const PntHandle&) { current->Tell("removed"); };
        document.GetDebugLevel = [] { return current->debugLevel; };
        StackPort& port = GetStackPort();
        port.CanvasUpdated = [] { current->Tell("updated"); };
        port.StackEdited = [](bool) { current->Tell("edited"); };
        port.StackChanged = [](bool) { current->Tell("changed"); };
        port.ContainerAdded = [](int index, const PntHandle& handle) {
            current->Tell("added");
            current->addedIndex = index;
            current->addedHandle = handle;
        };
        port.ContainerState = [](const PntHandle&) { current->Tell("state"); };
        port.LayerRenamed = [](const PntHandle&) { current->Tell("renamed"); };
        port.GetStackHandle = [](const LayerStack* asked) { return asked == current->stack ? 7 : -1; };
        stack.reset(new LayerStack(qsOS::Uuid::generate(), width, height));
        told.clear();
    }
    ~OpenStack()
    {
        stack = nullptr;
        GetDocumentPort() = savedDocumentPort_;
        GetStackPort() = savedStackPort_;
    }
    OpenStack(const OpenStack&) = delete;
    OpenStack& operator=(const OpenStack&) = delete;

    LayerStack* operator->() const { return stack.get(); }

    /// Adds an empty layer above the current one, or where `where` says, and names it.
    PntHandle Add(const char* name, LayerMode mode = kLayerModeImage, const PntHandle& where = kCurrentLayerHandle,
                  bool above = true)
    {
        const PntHandle added = stack->AddLayer({}, {}, mode, kLayerTypeRaster, above, 0, where, true, 0, 0, false);
        stack->SetLayerContainerName(added, name);
        return added;
    }

    Layer* Find(const PntHandle& handle) const { return stack->GetLayerFromHandle(handle); }

    /// Paints a rectangle of canvas pixels on the current layer.
    void Paint(const ilTile& canvas, const ilPixel& pixel)
    {
        PaintOps* painter = stack->GetCurrentLayerPainter();
        int x = canvas.x;
        int y = canvas.y;
        stack->LayerStackToLayerCoords(x, y, kCurrentLayerHandle);
        painter->rect_fill(x, y, canvas.nx, canvas.ny, pixel);
    }

    /// What the host was told since the last call, in order.
    std::string TakeTold() { return std::exchange(told, {}); }

    /// Removes all pending damage.
    void DropDamage()
    {
        ilTile tile;
        while (stack->GetNextUpdateTile(tile)) {
        }
    }

    qs::Reference<LayerStack> stack;
    int debugLevel = 0;
    int addedIndex = -1;
    PntHandle addedHandle = kNullHandle;

private:
    void Tell(const char* what) { told += (told.empty() ? "" : " ") + std::string(what); }

    static inline OpenStack* current = nullptr;
    std::string told;
    DocumentPort savedDocumentPort_;
    StackPort savedStackPort_;
};

/// Images as they were, to see that an operation wrote none of them: what a saved copy of the document relies on.
class KeptImages {
public:
    explicit KeptImages(LayerStack& stack)
    {
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            for (const PntHandle& handle : stack.GetLayerContainerHandleArray(mode, false))
                if (Layer* layer = stack.GetLayerFromHandle(handle); layer != nullptr && layer->GetImage())
                    images_.emplace_back(layer->GetImage(), layer->GetImage()->Snapshot());
    }

    bool AreUntouched() const
    {
        constexpr ilTile everywhere(-(1 << 20), -(1 << 20), 1 << 21, 1 << 21);
        bool same = true;
        for (const auto& [image, before] : images_) {
            same = same && image->GetFillValue() == before->GetFillValue();
            const auto compare = [&, &now = *image, &then = *before](int px, int py, const Page&) {
                same = same && now.SharesPageWith(then, px, py);
            };
            image->VisitPages(everywhere, compare);
            before->VisitPages(everywhere, compare);
        }
        return same;
    }

private:
    qs::vector<std::pair<qs::Reference<ilMIOImage>, qs::Reference<ilMIOImage>>> images_;
};

/// A view that counts its calls, and can do something from inside one.
class RecordingView : public LayerStackView {
public:
    void UpdateView(qs::TempReference<ilSPMemoryImg> imagePlane) override
    {
        ++updates;
        plane = imagePlane;
        if (onUpdate)
            onUpdate();
    }
    void BeginTimerBasedUpdate(int intervalMs) override { interval = intervalMs; }
    void EndTimerBasedUpdate() override { interval = 0; }
    void CheckTimerBasedUpdate() override { ++checks; }

    /// Removes all of the view's damage; its bounding tile.
    ilTile TakeDamage()
    {
        ilTile all;
        ilTile tile;
        while (GetNextUpdateTile(tile))
            all = ilTileUnion(all, tile);
        return all;
    }

    std::function<void()> onUpdate;
    qs::TempReference<ilSPMemoryImg> plane;
    int updates = 0;
    int checks = 0;
    int interval = -1;
};

/// Names bottom to top, folders as "G[...]", the current layer marked with a star.
inline std::string Dump(const LayerFolder& folder, const Layer* current)
{
    std::string text;
    for (const LayerContainer* child : folder.GetLCArray()) {
        text += (text.empty() ? "" : " ") + std::string(child->GetLayerContainerName());
        if (child == current)
            text += "*";
        if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            text += "[" + Dump(*inner, current) + "]";
    }
    return text;
}

inline std::string Dump(LayerStack& stack)
{
    std::string text;
    for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
        text += (mode == kLayerModeImage ? "" : " | ") + Dump(*stack.GetLayerFolder(mode), stack.GetCurrentLayerPtr());
    return text;
}

/// The largest difference of any component of two pictures; 256 when they have not the same size.
inline int LargestDifference(const qs::vector<uint8_t>& a, const qs::vector<uint8_t>& b)
{
    int largest = a.size() == b.size() ? 0 : 256;
    for (size_t i = 0; i < a.size() && i < b.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

inline qs::vector<uint8_t> BytesOf(const ilImage& image, const ilTile& tile)
{
    qs::vector<uint8_t> bytes(static_cast<size_t>(tile.Area()) * 4);
    image.ReadTile(tile, bytes.data(), ptrdiff_t{tile.nx} * 4);
    return bytes;
}

/// Where two pictures of the canvas differ first, as text; empty when they are equal.
inline std::string Difference(const qs::vector<uint8_t>& a, const qs::vector<uint8_t>& b, int width)
{
    const auto [at, other] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (at == a.end() && other == b.end())
        return {};
    const ptrdiff_t index = at - a.begin();
    return "component " + std::to_string(index % 4) + " of (" + std::to_string(index / 4 % width) + ", " +
           std::to_string(index / 4 / width) + "): " + std::to_string(*at) + " and " + std::to_string(*other);
}
