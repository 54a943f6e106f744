#include "stack/edits/DocumentSettings.h"

#include "stack/StackRooms.h"

#include <algorithm>
#include <cmath>
#include <utility>

void DocumentSettings::SetSymmetry(Symmetry* symmetry)
{
    if (symmetry != properties_.symmetry.get())
        properties_.symmetry.reset(symmetry);
}

void DocumentSettings::SetShowCurrentLayerOnly(bool on)
{
    if (on == properties_.showCurrentLayerOnly)
        return;
    properties_.showCurrentLayerOnly = on;
    canvas_.DamageCanvas();
}

void DocumentSettings::SetMaskDisabled(bool disable)
{
    if (disable == properties_.maskDisable)
        return;
    properties_.maskDisable = disable;
    canvas_.MarkMaskStale();
    canvas_.DamageCanvas();
}

void DocumentSettings::SetMaskVisible(bool visible)
{
    if (visible == properties_.maskVisible)
        return;
    properties_.maskVisible = visible;
    canvas_.MarkMaskStale();
    canvas_.DamageCanvas();
}

void DocumentSettings::Swap(DocumentProperties& properties) noexcept
{
    std::swap(properties_, properties);
    canvas_.MarkMaskStale();
}

void DocumentSettings::SetMaskOpacity(float opacity)
{
    if (!std::isnan(opacity))
        properties_.maskDisplayOpacity = std::clamp(opacity, 0.0F, 1.0F);
}

void DocumentSettings::SetMaskColor(const PaintColor& color)
{
    properties_.maskDisplayColor = color;
    properties_.maskDisplayColor.Clamp();
}
