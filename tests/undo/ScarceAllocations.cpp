#include "ScarceAllocations.h"

#include <cstdlib>
#include <new>

int allocationsLeft = -1;

// In a file of its own, so that no caller is compiled with a view of one half of the pair.

void* operator new(size_t size)
{
    if (allocationsLeft >= 0 && allocationsLeft-- == 0)
        throw std::bad_alloc();
    if (void* block = std::malloc(size))
        return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, size_t) noexcept
{
    std::free(block);
}
