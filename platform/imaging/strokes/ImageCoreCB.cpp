#include "platform/imaging/strokes/ImageCoreCB.h"

#include "platform/imaging/pages/PageAllocator.h"

ImageCoreCallbacks* ImageCoreCB()
{
    static constinit ImageCoreCallbacks callbacks;
    return &callbacks;
}

void ShrinkSwapFiles()
{
    PageAllocator::ReleaseUnused();
}
