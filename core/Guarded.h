#pragma once

#include "core/PaintManager.h"
#include "platform/base/Attempt.h"

/// What `call` answers for the document that `target` names, a layer-stack handle or a container; the neutral result
/// without one. The document lives through the call, whatever the host does from inside it.
template <class Result, class Target, class Call>
Result AskStack(const PaintManager& manager, Target target, Result neutral, Call&& call)
{
    return Guarded(neutral, [&]() -> Result {
        const qs::Reference<LayerStack> stack = manager.LayerStackFromHandle(target);
        return stack ? call(*stack) : neutral;
    });
}

template <class Target, class Call>
void TellStack(const PaintManager& manager, Target target, Call&& call)
{
    Attempt([&] {
        if (const qs::Reference<LayerStack> stack = manager.LayerStackFromHandle(target))
            call(*stack);
    });
}
