#pragma once

#include "layers/LayerStackTransform.h"
#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/imaging/transform/ColorAdjust.h"
#include "platform/imaging/transform/FilterMethod.h"
#include "platform/imaging/transform/Rect8f.h"
#include "stack/LayerStackHandle.h"

/// Part of PaintManager: transforms, colours and sharpness of layers, limited by a used selection, and of whole
/// documents. What the LayerStack methods of the same name take. False, with nothing changed, when refused.
class PAINTLAYER_EXPORT TransformCommands {
public:
    // --- layers. The Proxy forms are previews, which EndProxy() takes back ---

    /// Of the layer, or of its transform group: sends each canvas point of it to where the transform maps it.
    bool XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
               const PntHandle& layer = kCurrentLayerHandle);
    bool ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                    const PntHandle& layer = kCurrentLayerHandle);

    /// The same into a quadrilateral. kind: 0 as seen in perspective, 1 with evenly divided sides.
    bool Deform(const Rect8f& corners, FilterMethod filter, int kind, const PntHandle& layer = kCurrentLayerHandle);
    bool ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind,
                     const PntHandle& layer = kCurrentLayerHandle);

    /// The canvas box of what they would change.
    ilTile GetTransformBounds(const PntHandle& layer = kCurrentLayerHandle) const;

    /// amount: 0 to 1 of the way.
    bool ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer = kCurrentLayerHandle);
    bool ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer = kCurrentLayerHandle);

    /// What a layer's colours are like within the box of what is selected; all zero without one.
    ImageAnalysisData AnalyzeLayer(const PntHandle& layer = kCurrentLayerHandle) const;

    /// amount: of sharpening above 0 to 10, of blurring below 0 to -1. radius: pixels, 0.1 to 1000.
    bool SharpenOrBlurDone(float amount, float radius, const PntHandle& layer = kCurrentLayerHandle);

    // --- layers that transform together; a layer is in one group at most ---

    /// The group of a layer, itself included; empty when it is in none.
    qs::vector<PntHandle> getTransformGroup(const PntHandle& layer = kCurrentLayerHandle) const;

    /// A group of at least two layers, which leave the groups that they are in.
    bool AddTransformGroup(const qs::vector<PntHandle>& layers, int layerStack = kCurrentLayerStack);
    bool addLayerToCurrTransformGroup(const PntHandle& layer);
    bool removeLayerFromTransformGroup(const PntHandle& layer = kCurrentLayerHandle);

    /// Deletes the layers of a group.
    bool DeleteTransformGroup(const PntHandle& layer = kCurrentLayerHandle);

    // --- the whole document: layers, masks, stencils, selection and canvas alike ---

    /// Resamples everything to a canvas of width × height pixels.
    bool ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify,
                        int layerStack = kCurrentLayerStack);

    /// A tile of the present canvas, or reaching beyond it, becomes the canvas; cropping needs one that meets it.
    /// No pixel is lost: what lies outside stays in the layers.
    bool ResizeDocument(const ilTile& canvas, int layerStack = kCurrentLayerStack);
    bool CropDocument(const ilTile& canvas, int layerStack = kCurrentLayerStack);

    /// Clockwise; the canvas grows to hold the turned one.
    bool RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify, int layerStack = kCurrentLayerStack);
    bool FlipDocument(bool horizontal, bool vertical, int layerStack = kCurrentLayerStack);

protected:
    TransformCommands() = default;
    ~TransformCommands() = default;
};
