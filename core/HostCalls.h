#pragma once

#include "core/PaintCoreCallbacks.h"

#include <utility>

/// Calls an entry of the host's table; one that the host left null is skipped.
template <class... Parameters, class... Arguments>
void CallHost(void (*entry)(Parameters...), Arguments&&... arguments)
{
    if (entry != nullptr)
        entry(std::forward<Arguments>(arguments)...);
}

/// Tells the host that lengthy work runs, for as long as this lives.
class BusyScope {
public:
    explicit BusyScope(const PaintCoreCallbacks& callbacks) : callbacks_(callbacks)
    {
        CallHost(callbacks_.BusyCB, true);
    }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;
    ~BusyScope() { CallHost(callbacks_.BusyCB, false); }

private:
    const PaintCoreCallbacks& callbacks_;
};
