#include "core/commands/OptionCommands.h"

#include "core/PaintSession.h"
#include "platform/os/Parallel.h"

#include <algorithm>
#include <cmath>

void OptionCommands::BeginOperation()
{
    SessionOf(this).options.inOperation = true;
}

void OptionCommands::CancelOperation()
{
    SessionOf(this).options.inOperation = false;
}

void OptionCommands::EndOperation(bool)
{
    CancelOperation();
}

bool OptionCommands::InOperation() const
{
    return SessionOf(this).options.inOperation;
}

bool OptionCommands::SetThreadCount(int count)
{
    return ::SetThreadCount(count);
}

int OptionCommands::GetThreadCount() const
{
    return ::GetThreadCount();
}

void OptionCommands::SetColorSwizle(bool on)
{
    SessionOf(this).brush.SetColorSwizle(on);
}

bool OptionCommands::GetColorSwizle() const
{
    return SessionOf(this).brush.GetColorSwizle();
}

void OptionCommands::SetScaleFilter(int minify, int magnify)
{
    SessionOf(this).options.minifyFilter = minify;
    SessionOf(this).options.magnifyFilter = magnify;
}

void OptionCommands::GetScaleFilter(int& minify, int& magnify) const
{
    minify = SessionOf(this).options.minifyFilter;
    magnify = SessionOf(this).options.magnifyFilter;
}

void OptionCommands::EnableBrushFeedback(bool on)
{
    SessionOf(this).options.isBrushFeedbackEnabled = on;
}

bool OptionCommands::isBrushFeedbackEnabled() const
{
    return SessionOf(this).options.isBrushFeedbackEnabled;
}

void OptionCommands::InteractivePanZoom(bool on)
{
    SessionOf(this).options.isPanningOrZooming = on;
}

bool OptionCommands::inInteractivePanZoom() const
{
    return SessionOf(this).options.isPanningOrZooming;
}

void OptionCommands::SetWarpDefaultDisplayColor(const PaintColor& color)
{
    if (!color.IsFinite())
        return;
    PaintColor clamped = color;
    clamped.Clamp();
    SessionOf(this).options.warpColor = clamped;
}

PaintColor OptionCommands::GetWarpDefaultDisplayColor() const
{
    return SessionOf(this).options.warpColor;
}

void OptionCommands::SetWarpDefaultDisplayOpacity(float opacity)
{
    if (std::isfinite(opacity))
        SessionOf(this).options.warpOpacity = std::clamp(opacity, 0.0F, 1.0F);
}

float OptionCommands::GetWarpDefaultDisplayOpacity() const
{
    return SessionOf(this).options.warpOpacity;
}
