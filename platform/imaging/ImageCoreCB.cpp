#include "platform/imaging/ImageCoreCB.h"

#include "platform/imaging/PageAllocator.h"

ImageCoreCallbacks* ImageCoreCB()
{
    static constinit ImageCoreCallbacks callbacks;
    return &callbacks;
}

void ShrinkSwapFiles()
{
    PageAllocator::ReleaseUnused();
}
