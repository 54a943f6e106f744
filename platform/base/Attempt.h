#pragma once

#include <exception>

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
