#include "layers/Layer.h"

#include "layers/DocumentPort.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/painter/MaskingPaintOps.h"

#include <algorithm>
#include <cstdio>

namespace {

int nextLayerNumber = 0;  // of the process; numbers are never used again

bool IsSmart(const qs::TempReference<ilImage>& image)
{
    return dynamic_cast<const ilSmartImage*>(image.get()) != nullptr;
}

const char* DefaultNameFormat(LayerMode mode)
{
    switch (mode) {
    case kLayerModeMask: return "Mask-%d";
    case kLayerModeStencil: return "Invisibility-%d";
    default: return "Image-%d";
    }
}

}  // namespace

Layer::Layer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> second, LayerMode mode, LayerType type, int x,
             int y)
{
    initializeLayer(std::move(image), std::move(second), mode, type);
    Layer::SetOffset(x, y, LayerStackTransform(), true);
}

Layer::Layer() = default;
Layer::Layer(const Layer& other) = default;
Layer& Layer::operator=(const Layer& other) = default;

Layer::Layer(Layer* source) : Layer(source->WithoutProxy())
{
    BecomeCopyOf(*source);
    SetLocked(false);
    UpdateTimeStamp();
}

Layer::~Layer() = default;

LayerContainer* Layer::Clone()
{
    auto* clone = new Layer(WithoutProxy());
    clone->BecomeCopyOf(*this);
    return clone;
}

const Layer& Layer::WithoutProxy()
{
    EndProxy();
    return *this;
}

void Layer::BecomeCopyOf(const Layer& source)
{
    sourceLayer_ = &source;
    stencilCompositeDirty_ = true;
}

void Layer::initializeLayer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> second, LayerMode mode,
                            LayerType type)
{
    if (image && !IsSmart(image))
        std::printf("Color Img must be a smart image!\n");
    if (second && !IsSmart(second))
        std::printf("Stencil must be a smart image!\n");
    *this = Layer();
    type_ = type;
    mode_ = mode;
    image_ = AsLayerImage(image);
    char name[32];
    std::snprintf(name, sizeof name, DefaultNameFormat(mode), nextLayerNumber++);
    SetLayerContainerName(name);
}

qs::Reference<ilMIOImage> Layer::AsLayerImage(const qs::TempReference<ilImage>& image)
{
    if (!image || image->AsPaged() != nullptr)
        return image ? image->AsPaged() : nullptr;
    const ilTile bounds = image->GetBounds();
    qs::Reference<ilMIOImage> paged(new ilSmartImage(ilPixel(image->GetDataType(), image->GetNumChannels())));
    paged->copyTile3D(bounds.x, bounds.y, 0, bounds.nx, bounds.ny, 1, *image, bounds.x, bounds.y, 0);
    return paged;
}

ilSmartImage* Layer::GetSmartImage() const
{
    return dynamic_cast<ilSmartImage*>(image_.get());
}

// --- images ---

qs::TempReference<ilMIOImage> Layer::GetImage() const
{
    return image_;
}

qs::TempReference<ilMIOImage> Layer::GetAuxImage() const
{
    return auxImage_;
}

qs::TempReference<ilMIOImage> Layer::GetOrigImage() const
{
    return origImage_;
}

void Layer::SetImage(qs::TempReference<ilImage> image)
{
    if (image_ == image)
        return;
    image_ = AsLayerImage(image);
    TellImageChanged();
}

void Layer::SetAuxImage(qs::TempReference<ilImage> image)
{
    auxImage_ = AsLayerImage(image);
}

bool Layer::ApplyImage(qs::TempReference<ilMIOImage> image)
{
    if (!image || !image_)
        return false;
    PaintOps* painter = GetPainter();
    const ilTile bounds = image->GetBounds();
    const PaintOps::PaintMode mode = painter->get_paint_mode();
    painter->set_paint_mode(PaintOps::PaintMode::Copy);
    painter->draw_image(bounds.x, bounds.y, bounds.nx, bounds.ny, *image, bounds.x, bounds.y);
    painter->set_paint_mode(mode);
    TellImageChanged();
    return true;
}

PaintOps* Layer::GetPainter()
{
    if (!image_)
        return nullptr;
    if (!painter_)
        painter_ = new MaskingPaintOps(image_);
    else if (painter_->target_img() != image_.get())
        painter_->set_target_img(image_);
    return painter_.get();
}

void Layer::TellImageChanged()
{
    if (isStencil())
        SetStencilCompositeDirty(true);
    GetDocumentPort().LayerImageChanged(GetLayerContainerHandle());
}

// --- properties ---

void Layer::SetOpacity(float opacity)
{
    if (opacity == properties_.opacity)
        return;
    SetStencilCompositeDirty(true);
    properties_.opacity = opacity;
}

bool Layer::isVisible() const
{
    return FindVisibilityOwner()->properties_.isVisible;
}

bool Layer::isActive() const
{
    return hardLinkToOwner_ ? isVisible() : properties_.isActive;
}

void Layer::SetVisible(bool visible)
{
    // Stencils that are hard-linked to this layer hide with it.
    if (visible != properties_.isVisible)
        stencilCompositeDirty_ = true;
    properties_.isVisible = visible;
}

void Layer::SetActive(bool active)
{
    if (active != properties_.isActive && isStencil())
        SetStencilCompositeDirty(true);
    properties_.isActive = active;
}

bool Layer::isMaskInverted() const
{
    return isMask() && image_ && image_->GetFillValue() == ilPixel::Coverage(255);
}

void Layer::SetAppData(const qsString::CString& key, const qsString::CString& value)
{
    properties_.appData.Set(key, value);
}

// --- offset, bounds, pivot ---

void Layer::GetOffset(int& x, int& y) const
{
    x = xOffset_;
    y = yOffset_;
}

void Layer::GetOrigOffset(int& x, int& y) const
{
    x = origXOffset_;
    y = origYOffset_;
}

void Layer::SetOffset_(int x, int y)
{
    xOffset_ = std::clamp(x, -kFarthestPixel, kFarthestPixel);
    yOffset_ = std::clamp(y, -kFarthestPixel, kFarthestPixel);
}

void Layer::SetOffset(int x, int y, LayerStackTransform, bool markDirty)
{
    if (type_ != kLayerTypeRaster)
        return;
    if (markDirty && (x != xOffset_ || y != yOffset_))
        SetStencilCompositeDirty(true);
    SetOffset_(x, y);
    if (inProxy_ && !pivot_.valid)
        ResetPivot();
}

ilTile Layer::getLayerBoundsFromImage() const
{
    return image_ ? image_->GetBounds() : ilTile(0, 0, 0, 0, 0, 0);
}

ilTile Layer::getLayerBounds(bool shrink)
{
    if (shrink)
        ShrinkBounds(false, false);
    return getLayerBoundsFromImage();
}

ilTile Layer::getLayerBoundsInCanvasCoords()
{
    return ToCanvas(getLayerBounds(true));
}

ilTile Layer::ToCanvas(const ilTile& onLayer) const
{
    return ilTileMoved(onLayer, getXOffset(), getYOffset());
}

ilTile Layer::ToLayer(const ilTile& onCanvas) const
{
    return ilTileMoved(onCanvas, -int64_t{getXOffset()}, -int64_t{getYOffset()});
}

void Layer::ShrinkBounds(bool force, bool)
{
    ilSmartImage* smart = GetSmartImage();
    if (smart == nullptr)
        return;
    if (force)
        smart->ForceShrinkAttempt();
    else
        smart->ShrinkBounds();
}

void Layer::ResetPivot()
{
    ShrinkBounds(false, false);
    const ilTile bounds = getLayerBounds(true);
    pivot_.x = static_cast<float>(getXOffset()) + static_cast<float>(bounds.x) + static_cast<float>(bounds.nx) * 0.5F;
    pivot_.y = static_cast<float>(getYOffset()) + static_cast<float>(bounds.y) + static_cast<float>(bounds.ny) * 0.5F;
    pivot_.valid = false;
}

LayerPivot Layer::GetPivot()
{
    if (!pivot_.valid)
        ResetPivot();
    return pivot_;
}

void Layer::UpdatePivot()
{
    GetPivot();
}

void Layer::RenderLayer(bool, bool) {}
