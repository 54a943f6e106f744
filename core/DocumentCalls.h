#pragma once

#include "core/PaintSession.h"
#include "platform/base/Attempt.h"
#include "undo/UndoStore.h"

#include <exception>

/// What `call` answers for the document that `target` names, a layer-stack handle or a container; the neutral result
/// without one. For calls that change nothing: they are answered in the middle of a command as well.
template <class Group, class Result, class Target, class Call>
Result AskStack(const Group* group, const Target& target, Result neutral, Call&& call)
{
    return Guarded(neutral, [&]() -> Result {
        const qs::Reference<LayerStack> stack = SessionOf(group).Find(target);
        return stack ? call(*stack) : neutral;
    });
}

/// Changes the document that `target` names, as far as no step of undo is wanted. The neutral result when there is
/// none, in the middle of a command, and when memory does not suffice: then the document no longer trusts what it
/// cached. The document lives through the call, and the host hears of it afterwards.
template <class Group, class Result, class Target, class Call>
Result ChangeStack(const Group* group, const Target& target, Result neutral, Call&& call)
{
    PaintSession& session = SessionOf(group);
    const qs::Reference<LayerStack> stack = session.Find(target);
    if (!stack || !session.MayEdit())
        return neutral;
    if (PntUndoDatabase* database = PaintUndoDatabase())
        database->EndJoining();
    const Notices::Scope hold(session.notices);
    try {
        return call(*stack);
    } catch (const std::exception&) {
        stack->DistrustCaches();
        return neutral;
    }
}

/// The same without a result.
template <class Group, class Target, class Call>
void TellStack(const Group* group, const Target& target, Call&& call)
{
    ChangeStack(group, target, false, [&](LayerStack& stack) {
        call(stack);
        return true;
    });
}
