#pragma once

#include "platform/base/Export.h"

#include <cstddef>
#include <cstdint>
#include <utility>

inline constexpr int kPageShift = 6;
inline constexpr int kPageSize = 1 << kPageShift;  // pixels on a side
inline constexpr int kPagePixels = kPageSize * kPageSize;  // 4096

/// The page that holds pixel coordinate `v`, negative ones included, and its place in that page.
constexpr int PageIndexOf(int v)
{
    return v >> kPageShift;
}
constexpr int PageOffsetOf(int v)
{
    return v & (kPageSize - 1);
}

/// What is known of all pixels of a page together.
enum class PageContent : uint8_t {
    Unknown,  // written since it was last looked at
    Transparent,  // every byte is zero
    Opaque,  // every alpha (or coverage) is 255
    Mixed,
};

/// A counted block of 64 × 64 pixels. Pages are shared between images and copied by the first writer
/// (ilMIOImage::WritePage). A page of one value holds no pixel memory of its own.
class Page {
public:
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    int GetNumChannels() const { return channels_; }
    size_t GetByteCount() const { return static_cast<size_t>(kPagePixels) * static_cast<size_t>(channels_); }
    ptrdiff_t GetStrideBytes() const { return ptrdiff_t{kPageSize} * channels_; }

    bool IsUniform() const { return isUniform_; }
    uint32_t GetUniformValue() const { return value_; }  // packed; only for uniform pages

    /// The pixels, row by row; never null (a uniform page reads from memory shared by its value once asked for).
    const uint8_t* GetBytes() const { return bytes_ != nullptr ? bytes_ : MaterialiseForReading(); }

    /// Looks at the pixels at most once after each write.
    PageContent GetContent() const { return content_ != PageContent::Unknown ? content_ : Classify(); }

    bool IsShared() const { return references_ > 1; }
    uint32_t GetRefCount() const { return references_; }

    // --- for PagePtr and the image that owns the page ---
    static Page* NewUniform(int channels, uint32_t value);
    static Page* NewBlank(int channels);  // pixel memory, contents to be written by the caller
    static Page* NewCopy(const Page& source);  // private, with pixel memory of its own
    uint8_t* BytesForWriting();  // not shared; forgets what was known of the contents
    void SetContent(PageContent content) { content_ = content; }
    void AddRef() { ++references_; }
    void Release()
    {
        if (--references_ == 0)
            Delete();
    }
    void Pin() const { ++pins_; }
    void Unpin() const { --pins_; }

private:
    explicit Page(int channels) : channels_(channels) {}
    ~Page() = default;
    void Delete();
    const uint8_t* MaterialiseForReading() const;
    PageContent Classify() const;

    mutable uint8_t* bytes_ = nullptr;
    uint32_t references_ = 0;
    mutable uint32_t pins_ = 0;  // accessors that look at the bytes now: the page stays in memory
    uint32_t value_ = 0;
    int channels_;
    mutable PageContent content_ = PageContent::Unknown;
    bool isUniform_ = false;
};

/// Counted pointer to a page; null stands for a missing page (the image's fill value).
class PagePtr {
public:
    PagePtr() = default;
    explicit PagePtr(Page* page) : page_(page)
    {
        if (page_ != nullptr)
            page_->AddRef();
    }
    PagePtr(const PagePtr& other) : PagePtr(other.page_) {}
    PagePtr(PagePtr&& other) noexcept : page_(std::exchange(other.page_, nullptr)) {}
    PagePtr& operator=(PagePtr other) noexcept
    {
        std::swap(page_, other.page_);
        return *this;
    }
    ~PagePtr()
    {
        if (page_ != nullptr)
            page_->Release();
    }

    Page* get() const { return page_; }
    Page* operator->() const { return page_; }
    explicit operator bool() const { return page_ != nullptr; }

private:
    Page* page_ = nullptr;
};
