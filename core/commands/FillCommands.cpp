#include "core/commands/FillCommands.h"

#include "core/DocumentCalls.h"

namespace {

using Tool = FillTools::Tool;

/// Shows an attempt, or fills for good; not in the middle of a command.
void Try(PaintSession& session, const FillTools::Request& request)
{
    if (session.MayEdit())
        Attempt([&] { session.fillTools.Try(request); });
}

void Finish(PaintSession& session, const FillTools::Request& request)
{
    if (session.MayEdit())
        Attempt([&] { session.fillTools.Finish(request); });
}

}  // namespace

void FillCommands::DoFloodFill(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Try(SessionOf(this), {Tool::Flood, x, y, tolerance, color, layer});
}

void FillCommands::FloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Finish(SessionOf(this), {Tool::Flood, x, y, tolerance, color, layer});
}

void FillCommands::DoSmoothFloodFill(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Try(SessionOf(this), {Tool::SmoothFlood, x, y, tolerance, color, layer});
}

void FillCommands::SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Finish(SessionOf(this), {Tool::SmoothFlood, x, y, tolerance, color, layer});
}

void FillCommands::DoMagicWand(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                               const PntHandle& layer)
{
    Try(SessionOf(this), {Tool::Wand, x, y, tolerance, color, layer, fromAll});
}

void FillCommands::MagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                                 const PntHandle& layer)
{
    Finish(SessionOf(this), {Tool::Wand, x, y, tolerance, color, layer, fromAll});
}

bool FillCommands::IsPointBeingFilled(int x, int y, const PaintColor& color) const
{
    return SessionOf(this).fillTools.IsPointBeingFilled(x, y, color);
}

void FillCommands::SetFloodFillGrowth(int pixels, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetFloodFillGrowth(pixels); });
}

int FillCommands::GetFloodFillGrowth(int layerStack) const
{
    return AskStack(this, layerStack, 0, [](LayerStack& stack) { return stack.GetFloodFillGrowth(); });
}
