#pragma once

#include "core/PaintManager.h"

#include <exception>
#include <utility>

/// Runs `call`. A call that memory does not suffice for, or that fails otherwise, ends here: the neutral result.
template <class Result, class Call>
Result Guarded(Result neutral, Call&& call)
{
    try {
        return call();
    } catch (const std::exception&) {
        return neutral;
    }
}

/// The same without a result; false when the call failed.
template <class Call>
bool Attempt(Call&& call)
{
    return Guarded(false, [&] {
        call();
        return true;
    });
}

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
