#pragma once

/// Before which allocation of the program one fails; -1: none does.
extern int allocationsLeft;

/// Lets one allocation of `call` fail. False when there were not so many.
template <class Call>
bool RunScarce(int allocation, Call&& call)
{
    allocationsLeft = allocation;
    call();
    const bool hasFailed = allocationsLeft < 0;
    allocationsLeft = -1;
    return hasFailed;
}
