#include "platform/imaging/regions/CachedSmartImage.h"

#include <cstring>

bool CachedSmartImage::IsOneValue(int px, int py, uint32_t& packed)
{
    const Page* page = LookAt(px, py);
    if (page == nullptr)
        packed = image_->GetFillValue().GetPacked();
    else if (page->IsUniform())
        packed = page->GetUniformValue();
    else if (page->GetContent() == PageContent::Transparent)
        packed = 0;
    else
        return false;
    return true;
}

uint32_t CachedSmartImage::LookAtPixel(int x, int y)
{
    uint32_t packed = 0;
    const Page* page = LookAt(PageIndexOf(x), PageIndexOf(y));
    if (page == nullptr || page->IsUniform())
        return page == nullptr ? image_->GetFillValue().GetPacked() : page->GetUniformValue();
    const auto channels = static_cast<size_t>(page->GetNumChannels());
    const size_t at = static_cast<size_t>(PageOffsetOf(y) * kPageSize + PageOffsetOf(x));
    std::memcpy(&packed, page->GetBytes() + at * channels, channels);
    return packed;
}
