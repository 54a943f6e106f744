#include "stack/LayerStack.h"

#include "stack/LayerStackPorts.h"
#include "stack/StackParts.h"
#include "stack/StackPort.h"

namespace {

/// Eight gigabytes of image plane: far above any picture that is painted by hand, far below what would exhaust the
/// address space.
int64_t maxPixelCount = int64_t{1} << 31;

}  // namespace

LayerStack::LayerStack(qsOS::Uuid instance, int width, int height)
    : parts_(std::make_unique<StackParts>(*this, instance))
{
    InstallStackPorts();
    const bool isAcceptable = IsAcceptableSize(width, height);
    SetSize({0, 0, isAcceptable ? width : 1, isAcceptable ? height : 1}, false, true, true);
    SetBackgroundColor(GetStackPort().DefaultBackgroundColor());
    Notify(true);
    CleanStencilImg_spf();
    ClearSelectionMask(true);
}

LayerStack::LayerStack(qs::Reference<LayerStack> source) : parts_(std::make_unique<StackParts>(*this))
{
    InstallStackPorts();
    if (!source)
        return;
    source->EndProxy();
    parts_->BecomeVersionOf(*source->parts_);
}

LayerStack::LayerStack(MIOLayerStack_sr*) : parts_(std::make_unique<StackParts>(*this, qsOS::Uuid::generate()))
{
    InstallStackPorts();
}

LayerStack::~LayerStack() = default;

qsOS::Uuid LayerStack::GetLsInstanceHandle() const
{
    return parts_->tree.GetInstance();
}

ilTile LayerStack::GetSize() const
{
    return parts_->canvas.GetSize();
}

bool LayerStack::GetClipToSize() const
{
    return parts_->canvas.GetClipToSize();
}

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
    parts_->properties.resolutionX = x;
    parts_->properties.resolutionY = y;
}

void LayerStack::GetResolution(int& x, int& y) const
{
    x = parts_->properties.resolutionX;
    y = parts_->properties.resolutionY;
}

PaintColor LayerStack::GetBackgroundColor() const
{
    return parts_->properties.backgroundColor;
}

void LayerStack::SetBackgroundColor(const PaintColor& color)
{
    parts_->properties.backgroundColor = color;
}

Symmetry* LayerStack::GetSymmetry() const
{
    return parts_->properties.symmetry.get();
}

bool LayerStack::GetShowCurrentLayerOnly() const
{
    return parts_->properties.showCurrentLayerOnly;
}

bool LayerStack::GetMaskDisable() const
{
    return parts_->properties.maskDisable;
}

bool LayerStack::GetMaskVisible() const
{
    return parts_->properties.maskVisible;
}

void LayerStack::Notify(bool changed)
{
    GetStackPort().StackEdited(changed);
    GetStackPort().StackChanged(changed);
}

void LayerStack::debug()
{
    parts_->Dump();
}

const DocumentProperties& LayerStack::GetProperties() const
{
    return parts_->properties;
}
