#include "core/commands/StrokeCommands.h"

#include "core/PaintSession.h"
#include "platform/base/Attempt.h"
#include "platform/imaging/strokes/TpressureFilter.h"

#include <memory>

void StrokeCommands::BeginBrushStroke(bool noTimerUpdate)
{
    PaintSession& session = SessionOf(this);
    if (session.MayEdit())
        Attempt([&] { session.stroker.Begin(noTimerUpdate); });
}

void StrokeCommands::AddStrokePoint(float x, float y, float size, float opacity, float aspect, float rotation, bool,
                                    bool)
{
    PaintSession& session = SessionOf(this);
    if (session.MayEdit())
        Attempt([&] { session.stroker.AddPoint(x, y, size, opacity, aspect, rotation); });
}

void StrokeCommands::EndBrushStroke()
{
    PaintSession& session = SessionOf(this);
    if (session.MayEdit())
        Attempt([&] { session.stroker.End(); });
}

bool StrokeCommands::InBrushStroke() const
{
    return SessionOf(this).stroker.IsOpen();
}

uint64_t StrokeCommands::GetStampCount() const
{
    return SessionOf(this).stroker.GetStampCount();
}

uint64_t StrokeCommands::GetStampedPixels() const
{
    return SessionOf(this).stroker.GetStampedPixels();
}

void StrokeCommands::InitPressureFilter(unsigned short min, unsigned short max)
{
    if (min == PaintManager::minPressure && max == PaintManager::maxPressure)
        return;
    Attempt([&] {
        auto filter = std::make_unique<TpressureFilter>(min, max);
        delete PaintManager::PressFilter;
        PaintManager::PressFilter = filter.release();
        PaintManager::minPressure = min;
        PaintManager::maxPressure = max;
    });
}

float StrokeCommands::PressureFilter(unsigned int raw)
{
    return PaintManager::PressFilter != nullptr ? PaintManager::PressFilter->getFilteredValue(raw) : 0;
}

void StrokeCommands::ResetPointSmoother()
{
    Attempt([&] { SessionOf(this).pointer.Reset(); });
}

ilXYobj<ilXYstruct<float>, float>* StrokeCommands::SmoothPoints(const ilXYobj<ilXYstruct<float>, float>& point,
                                                                int& count)
{
    count = 0;
    return Guarded(static_cast<ilXYfloat*>(nullptr), [&] { return SessionOf(this).pointer.Smooth(point, count); });
}
