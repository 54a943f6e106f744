#pragma once

#include "layers/PntHandle.h"
#include "layers/ProxyParameters.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/pages/ilTile.h"
#include "stack/LayerStackHandle.h"
#include "stack/LayerStackView.h"

/// Part of PaintManager: what is shown, and when. Commands damage what they change; an update turns the damage into
/// tiles of the image plane and tells them to the views.
class PAINTLAYER_EXPORT CanvasCommands {
public:
    // --- updates ---

    /// Canvas pixels are stale; the next update composes them anew.
    void DamageRegion(const ilTile& tile, int layerStack = kCurrentLayerStack);

    /// Nothing is composed until as many resumes as suspensions; the last resume makes the whole canvas stale.
    void SuspendLayerStackComposites(int layerStack = kCurrentLayerStack);
    void ResumeLayerStackComposites(int layerStack = kCurrentLayerStack);
    bool areLayerStackCompositesSuspended(int layerStack = kCurrentLayerStack) const;

    /// Brings the image plane up to date, then calls the views.
    void ForceUpdate(int layerStack = kCurrentLayerStack);

    /// Brings the image plane up to date and tells the views their tiles, without calling them.
    void UpdateImagePlaneBits(int layerStack = kCurrentLayerStack);

    /// The same. overlay: 0 leaves the mask overlay out until the next update of the same place. callViews: not 0 calls
    /// the views as well.
    void UpdateImagePlaneBits(int overlay, int callViews, int layerStack);

    /// Composes everything anew; where a deletion postponed its redraw, the whole canvas.
    void RedrawCanvasDueToGeometryChange(int layerStack = kCurrentLayerStack);

    /// Takes the next damaged tile, cut to the canvas, which the caller then has to compose; false when there is none.
    bool GetNextUpdateTile(ilTile& tile, int layerStack = kCurrentLayerStack);

    /// Frees what a document that is not shown does without, its image plane included; the next update makes it anew.
    void FreeLayerStackCacheData(int layerStack);

    // --- pictures ---

    /// What the views show: premultiplied RGBA of the canvas, with the selection and masks in their colours over it.
    qs::TempReference<ilSPMemoryImg> GetImagePlane(int layerStack = kCurrentLayerStack) const;

    /// The picture alone, made afresh, for saving. Null while composites are suspended or without a layer.
    qs::TempReference<ilImage> GetCompositeImage(int layerStack = kCurrentLayerStack);

    /// The current layer alone instead of all.
    void SetShowCurrentLayerOnly(bool on, int layerStack = kCurrentLayerStack);
    bool GetShowCurrentLayerOnly(int layerStack = kCurrentLayerStack) const;

    // --- views; not owned, kept once, called in the order in which they came ---

    void AddViewer(LayerStackView* view, int layerStack = kCurrentLayerStack);
    void RemoveViewer(LayerStackView* view, int layerStack = kCurrentLayerStack);

    /// Brings the image plane up to date and calls this view, if it is registered.
    void UpdateViewer(LayerStackView* view, int layerStack = kCurrentLayerStack);

    // --- previews ---

    /// The layers' edits are previews from here on: LayerStack::BeginProxy.
    bool BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers,
                    int layerStack = kCurrentLayerStack);

    /// Takes the edits back; the preview goes on, or ends.
    void RevertProxy(int layerStack = kCurrentLayerStack);
    void EndProxy(int layerStack = kCurrentLayerStack);
    bool InProxy(int layerStack = kCurrentLayerStack) const;

protected:
    CanvasCommands() = default;
    ~CanvasCommands() = default;
};
