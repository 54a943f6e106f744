#include "platform/imaging/stamps/StampCache.h"

#include "platform/imaging/stamps/StampCacheImpl.h"

#include <algorithm>

namespace {

int rotationIncrementDeg = 1;

}  // namespace

void ILStampImpl::reset_cache()
{
    StampCacheImpl::Get().Clear();
}

int ILStampImpl::max_cache_size()
{
    return static_cast<int>(StampCacheImpl::Get().GetByteLimit() >> 20);
}

void ILStampImpl::max_cache_size(int mebibytes)
{
    if (mebibytes >= 0)
        StampCacheImpl::Get().SetByteLimit(static_cast<size_t>(mebibytes) << 20);
}

size_t ILStampImpl::GetCachedBytes()
{
    return StampCacheImpl::Get().GetBytes();
}

void ILStampImg::setRotationQuantizationIncrement(int degrees)
{
    rotationIncrementDeg = std::clamp(degrees, 1, 90);
}

int ILStampImg::getRotationQuantizationIncrement()
{
    return rotationIncrementDeg;
}
