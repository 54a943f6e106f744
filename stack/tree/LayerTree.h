#pragma once

#include "layers/LayerEnums.h"
#include "layers/LayerFolder.h"
#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"

#include <array>

class Layer;

/// What a document consists of: three ordered folders of layers, the selection mask outside them, and which layer is
/// current. Finds and places things in it; nobody is told, and nothing is drawn.
///
/// Folders nest one level deep. Handles act as they do for LayerStack.
class LayerTree {
public:
    /// Without an instance handle, for CopyWhole.
    LayerTree();
    explicit LayerTree(const qsOS::Uuid& instance);
    LayerTree(const LayerTree&) = delete;
    LayerTree& operator=(const LayerTree&) = delete;
    ~LayerTree();

    /// Becomes another version of the same document, with clones that answer to the same handles.
    void CopyWhole(const LayerTree& source);

    const qsOS::Uuid& GetInstance() const { return instance_; }
    LayerFolder* GetImageFolder() const { return imageFolder_.get(); }
    LayerFolder* GetMaskFolder() const { return maskFolder_.get(); }
    LayerFolder* GetStencilFolder() const { return stencilFolder_.get(); }
    LayerFolder* GetLayerFolder(LayerMode mode) const;
    std::array<LayerFolder*, 3> TopFolders() const;  // image, mask, stencil
    bool IsTopFolder(const LayerFolder* folder) const;

    Layer* GetSelectionMask() const { return selectionMask_.get(); }
    void SetSelectionMask(Layer* mask);
    Layer* GetCurrent() const { return current_; }
    void SetCurrent(Layer* layer) { current_ = layer; }

    // --- by handle ---

    LayerContainer* GetLayerContainerFromHandle(const PntHandle& handle) const;
    Layer* GetLayerFromHandle(const PntHandle& handle) const;
    LayerFolder* GetLayerFolderFromHandle(const PntHandle& handle) const;
    PntHandle GetCurrentHandle() const;
    PntHandle GetSelectionMaskHandle() const;

    /// The current-layer handle becomes the layer's own.
    PntHandle ResolveHandle(const PntHandle& handle) const;

    // --- by place ---

    /// The folder that directly holds a container, and optionally the one of the three above it; null for a stranger.
    LayerFolder* HoldingFolder(const LayerContainer* container, LayerFolder** top) const;
    LayerFolder* FindLayerFolder(const PntHandle& handle, bool deep) const;
    Layer* GetNextLayer(Layer* layer) const;
    Layer* GetPreviousLayer(Layer* layer) const;
    LayerContainer* GetNextLayerContainer(LayerContainer* container) const;
    LayerContainer* GetPreviousLayerContainer(LayerContainer* container) const;
    Layer* GetTopLayer(LayerMode mode) const;
    Layer* GetBottomLayer(LayerMode mode) const;
    PntHandle FindBelow(const PntHandle& handle) const;  // in the folder that holds it
    PntHandle FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const;

    // --- by what they are ---

    qs::vector<PntHandle> GetMaskLayers(const PntHandle& owner) const;
    qs::vector<PntHandle> GetStencilLayers(const PntHandle& owner) const;
    qs::vector<PntHandle> GetOwners(const PntHandle& handle) const;
    bool IsNameUnique(const char* name) const;
    bool IsShown(const Layer& layer) const;

    /// The layers of the three folders, and the selection mask.
    qs::vector<qs::Reference<Layer>> GetAllLayers() const;

    /// The image layers bottom to top, those in folders included.
    qs::vector<Layer*> GetFlattenedImageLayers(bool shownOnly) const;

    /// The layer, and what is hard-linked to it or to one of those.
    qs::vector<qs::Reference<Layer>> GetWithHardLinked(Layer* layer) const;

    // --- coordinates ---

    void ToLayer(float& x, float& y, const PntHandle& handle) const;
    void ToLayer(int& x, int& y, const PntHandle& handle) const;
    void ToCanvas(float& x, float& y, const PntHandle& handle) const;
    void ToCanvas(int& x, int& y, const PntHandle& handle) const;

    // --- changes ---

    /// The folder that holds the current layer makes it current when it is chosen.
    void RememberCurrentInFolder();

    /// Puts a layer right above the sub-folder that holds it; an empty one goes.
    void LiftOutOfFolder(Layer& layer);

private:
    qsOS::Uuid instance_;
    qs::Reference<LayerFolder> imageFolder_;
    qs::Reference<LayerFolder> maskFolder_;
    qs::Reference<LayerFolder> stencilFolder_;
    qs::Reference<Layer> selectionMask_;
    Layer* current_ = nullptr;  // held by its folder, or the selection mask
};
