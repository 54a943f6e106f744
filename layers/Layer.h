#pragma once

#include "layers/LayerContainer.h"
#include "layers/LayerContent.h"
#include "layers/LayerEnums.h"
#include "layers/LayerPicture.h"
#include "layers/LayerPivot.h"
#include "layers/LayerStackTransform.h"
#include "layers/ProxyParameters.h"
#include "platform/base/CString.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/pages/ilTile.h"

class DamageControl;
class Layer;
class PageAccount;
class PaintOps;

/// A raster layer: a paged image at an integer offset on the canvas, with opacity, blend mode, visibility, a pivot for
/// transforms and a small string map for the host.
///
/// The same class is an image layer (four channels), a mask or a stencil (one channel of coverage). A mask or stencil
/// names the layers that it acts on, its owners, by handle. Layer coordinates are the image's pixels: canvas minus
/// offset. Copies of a layer refer to the same image object; whoever needs an independent one takes a page-sharing
/// image of its own.
class PAINTLAYER_EXPORT Layer : public LayerContainer {
public:
    /// The image should be an ilSmartImage; of another kind it is warned of on standard output, and a memory image is
    /// copied into a smart one. `second` is looked at for the same warning and not kept. (x, y) is the offset of a
    /// raster layer and not used for other types. The name is the next default one of the mode.
    Layer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> second, LayerMode mode, LayerType type, int x,
          int y);

    /// Member by member; images and painter are shared.
    Layer(const Layer& other);
    Layer& operator=(const Layer& other);

    /// A copy with the source's handle and name that shares its images and painter and is not in a proxy; a proxy of
    /// the source is ended first. Not null.
    explicit Layer(Layer* source);
    ~Layer() override;

    LayerContainer* Clone() override;

    /// False for a hard-linked layer, for null and for a layer that is no owner.
    bool RemoveLayerFromOwnerLayer(LayerContainer* owner) override;

    /// Marks this layer's stencil composite; on a stencil those of its owners instead.
    void SetStencilCompositeDirty(bool dirty) override;
    bool isMask() const override { return mode_ == kLayerModeMask; }
    bool isStencil() const override { return mode_ == kLayerModeStencil; }

    /// One channel that says how much: a mask or a stencil.
    bool IsCoverage() const { return isMask() || isStencil(); }
    bool HasOwner(const PntHandle& owner) const override;
    qs::vector<PntHandle> GetOwnerLayerArray() const override { return owners_; }

    /// Shrinks the image's bounds, moves the offset into the pixels and tells the host that the image changed.
    virtual void ShrinkAndNormalizeLayerImages();

    virtual int getXOffset() const { return xOffset_; }
    virtual int getYOffset() const { return yOffset_; }
    virtual void GetOffset(int& x, int& y) const;

    /// A tile of the layer on the canvas, and a canvas tile on the layer; both are held within the range of int.
    ilTile ToCanvas(const ilTile& onLayer) const;
    ilTile ToLayer(const ilTile& onCanvas) const;

    /// The offset that EndProxy() brings back.
    virtual void GetOrigOffset(int& x, int& y) const;

    /// Raster layers only; farther than kFarthestPixel a layer does not go. markDirty: a changed offset marks the
    /// stencil composite first. The transform is not used.
    virtual void SetOffset(int x, int y, LayerStackTransform transform, bool markDirty);

    /// The image's bounds in layer coordinates; shrink: cut to what is painted first. All zero without an image.
    virtual ilTile getLayerBounds(bool shrink);

    /// Brings back offset and image as they were when the proxy began; does nothing outside a proxy.
    virtual void EndProxy();

    /// From here on edits go to a work image that shares its pages with the original. True also when a proxy is in
    /// progress already (nothing changes); false without an image.
    virtual bool BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images);

    /// What the last proxy was begun with.
    ProxyParameters::ScopeHint GetProxyScopeHint() const { return proxyScope_; }
    ProxyParameters::Images GetProxyImages() const { return proxyImages_; }

    /// Draws the content into a quadrilateral of the canvas: the painted box's corners go to `corners` moved by
    /// (dx, dy). kind: 0 as seen in perspective, 1 with evenly divided sides. False, with nothing changed, for what
    /// WarpImage refuses and for an empty layer. A proxy is ended first.
    virtual bool Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy);

    /// Sends each canvas point of the content to where `transform` maps it (XformCoords); a pivot that is valid goes
    /// along. A move by whole pixels changes the offset only. False, with nothing changed, for what TransformImage
    /// refuses. A proxy is ended first.
    virtual bool XForm(LayerStackTransform transform, FilterMethod minify, FilterMethod magnify);

    /// The same as previews: from the original into the work image, however often. False outside a proxy.
    virtual bool ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy);
    virtual bool ProxyXForm(LayerStackTransform transform, FilterMethod minify, FilterMethod magnify);

    /// A preview of an adjustment, from the original: within `tile` (canvas pixels; empty: everywhere), `amount` (0 to
    /// 1) of the way. data: filled with what the original has there when `analyses`; may be null. autoLevels: the
    /// channels' levels come from that analysis instead of `parm`. False outside a proxy, for null and for values that
    /// are not finite.
    virtual bool ProxyColorAdjust(ColorAdjustParm* parm, ImageAnalysisData* data, ilTile tile, float amount,
                                  bool analyses, bool autoLevels);

    /// Invert every pixel, those of the unstored area included; each acts on layers of its own mode only.
    virtual void InvertMask();
    virtual void InvertImageLayer();  // colour only, alpha stays
    virtual void InvertStencil();

    /// A raster layer has nothing to render.
    virtual void RenderLayer(bool force, bool update);

    /// Prints the layer on standard output when the host's debug level asks for dumps.
    virtual void debug();

    /// Writes the document part of this layer's handle and of every owner's.
    virtual void VerifyAllLsHandle(const qsOS::Uuid& layerStack);

    // --- images ---

    qs::TempReference<ilMIOImage> GetImage() const;
    qs::TempReference<ilMIOImage> GetAuxImage() const;

    /// The content as it was when the proxy began; null outside a proxy.
    qs::TempReference<ilMIOImage> GetOrigImage() const;

    /// Replaces the content and tells the host, and a stencil's owners, unless it is the same image already. A memory
    /// image is copied into a paged one.
    void SetImage(qs::TempReference<ilImage> image);
    void SetAuxImage(qs::TempReference<ilImage> image);

    /// Stores the image's pixels over its bounds at the same place of the content; false for null.
    bool ApplyImage(qs::TempReference<ilMIOImage> image);

    /// The layer's painter, bound to the current image; null without an image. Copies of the layer share it.
    PaintOps* GetPainter();

    // --- content as a whole (LayerContent.cpp) ---

    /// Constant time, whatever the size of the image. Of a layer in a proxy: what EndProxy() brings back.
    LayerContent CaptureContent() const;

    /// Puts a captured content back into this layer or a copy of it; tells nobody. Not in a proxy.
    void RestoreContent(const LayerContent& content) noexcept;

    /// Drops what can be made again: the painter, which then has nothing of a stroke, and the stencil composite.
    void FreeCacheData() noexcept;

    /// Counts what would come free with this layer.
    void CountReleased(PageAccount& account) const;

    void SetImageChange(bool changed) { imageChange_ = changed; }
    bool GetImageChange() const { return imageChange_; }

    /// The layer that this one was copied from by Layer(Layer*); it may be gone since, so compare only.
    const Layer* GetSourceLayer() const { return sourceLayer_; }

    // --- properties ---

    float GetOpacity() const { return properties_.opacity; }

    /// 0 to 1. A value that differs marks the stencil composite before it is stored.
    void SetOpacity(float opacity);
    float GetMaskDisplayOpacity() const { return properties_.displayOpacity; }
    void SetMaskDisplayOpacity(float opacity) { properties_.displayOpacity = opacity; }
    const PaintColor& GetMaskColor() const { return properties_.displayColor; }
    void SetMaskColor(const PaintColor& color) { properties_.displayColor = color; }
    LayerType GetLayerType() const { return type_; }
    void SetLayerType(LayerType type) { type_ = type; }
    LayerMode GetLayerMode() const { return mode_; }
    LayerBlendMode GetLayerBlend() const { return properties_.blend; }
    void SetLayerBlend(LayerBlendMode blend) { properties_.blend = blend; }

    /// The stored flags; for a hard-linked layer both are the visibility of its first owner, while that is found.
    bool isVisible() const;
    bool isActive() const;
    void SetVisible(bool visible);
    void SetActive(bool active);

    /// True for a mask whose unstored area is covered.
    bool isMaskInverted() const;

    /// Strings of the host; empty for an unknown key.
    qsString::CString GetAppData(const qsString::CString& key) const { return properties_.appData.Get(key); }
    void SetAppData(const qsString::CString& key, const qsString::CString& value);

    // --- owners ---

    /// Connects this mask or stencil to `owner`. False, with nothing changed, for null, for a present owner and for a
    /// layer that is hard-linked already. A hard-linked layer follows its only owner's visibility.
    bool AddOwnerLayer(Layer* owner, bool hardLink);
    bool IsHardLinkToOwnerLayer() const { return hardLinkToOwner_; }

    /// Puts `to` in the place of the owner `from`, hard links included. False when `from` is no owner.
    bool ReplaceOwnerLayer(const PntHandle& from, Layer& to);

    // --- independent copies (LayerDuplicate.cpp) ---

    /// A layer with the same properties and pixels that shares nothing but pages: its handle, images and painter are
    /// its own, and it has no owners yet. A proxy is ended first. Not null.
    qs::Reference<Layer> Duplicate();

    /// The same in another role. The pixels of an image layer have its stencils applied; as a mask or stencil they are
    /// its alpha. A mask or stencil becomes an image in its display colour, no wider than it is painted and `within`
    /// where its unstored area is covered. What then has no meaning is as in a new layer. within: as for
    /// MakeBakedImage.
    qs::Reference<Layer> DuplicateAs(LayerMode mode, const ilTile& within);

    /// The content with what the stencils hide made transparent, in an image of its own that shares the other pages.
    /// within: in layer coordinates, how far an unstored area that is not transparent is looked after. Null without
    /// one.
    qs::Reference<ilSmartImage> MakeBakedImage(const ilTile& within);

    /// The content mirrored within its painted bounds, in an image of its own; null without one.
    qs::Reference<ilSmartImage> MakeFlippedImage(bool horizontal, bool vertical);

    /// Stores all of `pixels` in the image, which stays the same object, and tells the host. Pages are shared.
    void TakePixels(const ilMIOImage& pixels);

    // --- bounds, pivot, proxy ---

    ilTile getLayerBoundsInCanvasCoords();

    /// Shrinks the image's bounds to its painted area; force: also when nothing seems to have been written. The second
    /// flag is accepted and not used.
    void ShrinkBounds(bool force, bool);

    void SetPivot(const LayerPivot& pivot) { pivot_ = pivot; }

    /// Derives the pivot from the bounds first when it is not valid; it stays not valid then.
    LayerPivot GetPivot();
    void ResetPivot();
    void UpdatePivot();

    bool InProxy() const { return inProxy_; }

    /// Ends the proxy and begins it again: the edits are gone, the proxy goes on. Nothing outside a proxy.
    void RevertProxy();

    /// Ends the proxy with its edits: they go into the original image object, and offset and pivot stay as they are.
    void KeepProxy();

    /// Adds the canvas tiles in which the proxy's work image shows other pages than the original.
    void CollectProxyDamage(DamageControl& damage) const;

    // --- pixels ---

    /// Moves the offset into the pixels: the canvas looks the same and the offset is (0, 0).
    void NormalizeLayerOffset();

    /// Mirror within the painted bounds.
    void Flip(bool horizontal, bool vertical);

    /// A quarter turn of the painted bounds, whose top left corner stays.
    void SimpleRotate(bool right);

    /// Gives an image layer its stencilled image, which carries the opacity, and full opacity; masks and stencils get
    /// full opacity only.
    void CollapseOpacity();

    // --- transforms (LayerXForm.cpp) ---

    /// The content and its offset; in a proxy as they were when it began.
    LayerPicture GetOriginalPicture() const;

    /// Makes the picture the content, in the image object that there is, and what follows. False without one or for
    /// another number of channels.
    bool TakePicture(const LayerPicture& picture);

    /// Part of a change of the whole canvas by `matrix`: the picture's image object becomes the content, offset and
    /// pivot follow. The old image object stays as it is.
    void ReplacePicture(const LayerPicture& picture, const qsLinear::AffineMatrix& matrix);

    /// The content at another scale about the canvas origin, as an image of its own (unless nothing changes), at a
    /// scaled offset. Null when TransformImage refuses.
    LayerPicture GetScaleLayerImage(double xScale, double yScale, FilterMethod minify, FilterMethod magnify) const;

    /// Takes a valid pivot through a map of the canvas.
    void MovePivot(const qsLinear::AffineMatrix& matrix);

    // --- stencils ---

    bool IsStencilCompositeDirty() const { return stencilCompositeDirty_; }

    /// The union of the active stencils on this layer, brought up to date: one channel, in layer coordinates; what it
    /// covers is hidden. Null when nothing is hidden, always so for masks and stencils. Borrowed: good until the
    /// layer or a stencil changes.
    const ilMIOImage* GetUpToDateStencil();

    /// Makes the stencil composite anew within `tile` (layer coordinates), after a stencil was painted on there. Much
    /// cheaper than marking it dirty; a composite that is dirty anyway stays so.
    void RefreshStencilComposite(const ilTile& tile);

    /// The four-channel picture of this layer, in layer coordinates, over `tile` or, with null, over its painted
    /// bounds; what lies outside is not settled. Image layers show their colours, stencils applied, at the layer's
    /// opacity (fullOpacity: at 1); masks and stencils their mask colour at their mask display opacity. Pages are
    /// shared with the layer where they look alike. Null without an image.
    qs::TempReference<ilSmartImage> GetStencilledImage(const ilTile* tile = nullptr, bool fullOpacity = false);

    /// The same, made now.
    qs::TempReference<ilSmartImage> MakeStencilledImage(const ilTile* tile, bool fullOpacity);

    /// Brings the union of the active stencils up to date when it is marked dirty; not on masks and stencils. All of it
    /// is made, so the arguments are not used.
    void MakeStencilComposite(const ilTile& tile, Layer* changed, const qs::TempReference<ilImage>& image);

    /// Hides what the stencils cover of the painter's paged target, both in layer coordinates, within `tile` (null:
    /// the painted bounds).
    void DoStencil(const ilTile* tile, PaintOps* painter);

    /// Makes what the stencils hide transparent in the image itself. The stencils stay connected.
    void CollapseStencilComposite();

    /// The union of the coverage of all one-channel layers among `masks` within `tile`, both in canvas coordinates;
    /// nothing is covered outside.
    static qs::TempReference<ilSmartImage> MakeMaskImage(const qs::vector<LayerContainer*>& masks, const ilTile& tile);

protected:
    /// Without an image or a default name; initializeLayer() follows.
    Layer();

    /// Sets every field to its default, takes the image and gives the layer a new handle and default name.
    void initializeLayer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> second, LayerMode mode,
                         LayerType type);
    void SetOffset_(int x, int y);

    /// What follows when a transform or a deformation has changed image and offset: shrinks the bounds, marks stencils,
    /// tells the host unless it is a preview.
    void postForm();

private:
    const Layer& WithoutProxy();
    void BecomeCopyOf(const Layer& source);
    static qs::Reference<ilMIOImage> AsLayerImage(const qs::TempReference<ilImage>& image);
    ilTile getLayerBoundsFromImage() const;
    ilSmartImage* GetSmartImage() const;
    const Layer* FindVisibilityOwner() const;
    void TellImageChanged();
    void InvertPixels(bool colorOnly);
    void DropProxyEdits(const qs::Reference<ilMIOImage>& image);
    bool DeformOriginal(const Rect8f& onCanvas, FilterMethod filter, int kind);
    qs::vector<Layer*> FindActiveStencils() const;
    void MakeStencilComposite();
    void ShowCoverage(ilSmartImage& into, const ilTile& tile) const;
    static void MakeMaskImageOne(ilSmartImage& into, const ilTile& tile, const Layer& mask);

    LayerType type_ = kLayerTypeRaster;
    LayerMode mode_ = kLayerModeImage;
    const Layer* sourceLayer_ = nullptr;
    qs::Reference<ilMIOImage> image_;
    qs::Reference<ilMIOImage> auxImage_;
    qs::Reference<ilMIOImage> origImage_;  // what the proxy began with; image_ is the work image then
    bool imageChange_ = false;
    bool inProxy_ = false;
    ProxyParameters::ScopeHint proxyScope_ = ProxyParameters::kScopeWholeLayer;  // of the last proxy begun
    ProxyParameters::Images proxyImages_ = ProxyParameters::kImagesContent;
    int xOffset_ = 0;
    int yOffset_ = 0;
    int origXOffset_ = 0;
    int origYOffset_ = 0;
    LayerPivot pivot_;
    qs::Reference<PaintOps> painter_;
    qs::Reference<ilSmartImage> stencilComposite_;
    bool stencilCompositeDirty_ = true;
    qs::vector<PntHandle> owners_;
    bool hardLinkToOwner_ = false;
};
