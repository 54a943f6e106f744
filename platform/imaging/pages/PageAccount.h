#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilMIOImage.h"

#include <cstdint>
#include <unordered_map>

/// What memory would come free if somebody let go of what it holds: a trial that releases nothing. Each reference that
/// would go is dropped here; what has no other one would go itself, with the references that it has. So whatever is
/// shared with others does not count, and what is shared among those dropped counts once.
class PageAccount {
public:
    /// Drops one reference. True when it was the last one: the caller drops what the object holds. False for null.
    bool Drop(const qs::ReferenceCount* object);

    /// Drops one reference to an image, and the pages that nothing else would keep.
    void DropImage(const ilMIOImage* image);

    void AddBytes(int64_t bytes) { bytes_ += bytes; }
    int64_t GetBytes() const { return bytes_; }

private:
    bool IsLast(const void* object, uint32_t references);
    void DropPage(const Page& page);

    std::unordered_map<const void*, uint32_t> dropped_;  // of what has several references: how many went
    int64_t bytes_ = 0;
};
