#include "platform/imaging/pages/Page.h"

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageAllocator.h"

#include <cstring>

namespace {

/// Fills a page's worth of bytes with a packed value.
void FillBytes(uint8_t* bytes, size_t count, int channels, uint32_t value)
{
    if (channels == 1 || value == 0) {
        std::memset(bytes, static_cast<int>(value & 0xFF), count);
        return;
    }
    for (size_t i = 0; i < count; i += 4)
        std::memcpy(bytes + i, &value, 4);
}

}  // namespace

Page* Page::NewUniform(int channels, uint32_t value)
{
    Page* page = new Page(channels);
    page->isUniform_ = true;
    page->value_ = value;
    const uint32_t alpha = channels == 1 ? value : value >> 24;
    page->content_ = value == 0 ? PageContent::Transparent : alpha == 255 ? PageContent::Opaque : PageContent::Mixed;
    return page;
}

Page* Page::NewBlank(int channels)
{
    Page* page = new Page(channels);
    try {
        page->bytes_ = PageAllocator::Allocate(page->GetByteCount());
    } catch (...) {
        delete page;
        throw;
    }
    return page;
}

Page* Page::NewCopy(const Page& source)
{
    Page* page = NewBlank(source.channels_);
    if (source.isUniform_)
        FillBytes(page->bytes_, page->GetByteCount(), page->channels_, source.value_);
    else
        std::memcpy(page->bytes_, source.bytes_, page->GetByteCount());
    page->content_ = source.content_;
    return page;
}

uint8_t* Page::BytesForWriting()
{
    GetBytes();
    isUniform_ = false;
    content_ = PageContent::Unknown;
    return bytes_;
}

void Page::Delete()
{
    if (bytes_ != nullptr)
        PageAllocator::Free(bytes_, GetByteCount());
    delete this;
}

const uint8_t* Page::MaterialiseForReading() const
{
    bytes_ = PageAllocator::Allocate(GetByteCount());
    FillBytes(bytes_, GetByteCount(), channels_, value_);
    return bytes_;
}

PageContent Page::Classify() const
{
    uint32_t andOfAll = 0;
    uint32_t orOfAll = 0;
    kernels::Get().foldWords(bytes_, static_cast<int>(GetByteCount()), &andOfAll, &orOfAll);
    const uint32_t alphaMask = channels_ == 1 ? 0xFFFFFFFFU : 0xFF000000U;
    content_ = orOfAll == 0                          ? PageContent::Transparent
               : (andOfAll & alphaMask) == alphaMask ? PageContent::Opaque
                                                     : PageContent::Mixed;
    return content_;
}
