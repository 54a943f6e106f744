#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/stamps/StampCoverage.h"

#include <cstddef>
#include <cstdint>

/// What a coverage depends on: the identity of its profile or mask, and its quantised geometry, packed.
struct StampKey {
    uint64_t identity = 0;
    uint64_t geometry = 0;

    friend bool operator==(const StampKey&, const StampKey&) = default;
};

/// The cache behind ILStampImpl. Coverages stand in one array and are found by open addressing; a second chain through
/// the array keeps the order of use. Finding one that is there allocates nothing.
class StampCacheImpl {
public:
    static StampCacheImpl& Get();

    explicit StampCacheImpl(size_t byteLimit) : byteLimit_(byteLimit) {}

    /// Null when it is not there. The one found counts as used last.
    const StampCoverage* Find(const StampKey& key)
    {
        if (newest_ != kNone && entries_[newest_].key == key)
            return entries_[newest_].coverage.get();
        return FindOlder(key);
    }

    /// Keeps a coverage that is not there, unless it alone is larger than the bound. Throws std::bad_alloc.
    void Insert(const StampKey& key, qs::Reference<const StampCoverage> coverage);

    void Clear();
    void SetByteLimit(size_t bytes);
    size_t GetByteLimit() const { return byteLimit_; }
    size_t GetBytes() const { return bytes_; }

private:
    static constexpr uint32_t kNone = UINT32_MAX;
    static constexpr unsigned kMinSlotBits = 8;

    struct Entry {
        StampKey key;
        qs::Reference<const StampCoverage> coverage;
        uint32_t newer = kNone;
        uint32_t older = kNone;  // of free entries: the next free one
    };

    const StampCoverage* FindOlder(const StampKey& key);
    size_t HomeOf(const StampKey& key) const;
    size_t FindSlot(uint32_t index) const;
    void PlaceInSlots(uint32_t index);
    void GrowSlots();
    void RemoveSlot(size_t slot);
    void Unlink(uint32_t index);
    void LinkAsNewest(uint32_t index);
    void RemoveOldest();

    qs::vector<Entry> entries_;
    qs::vector<uint32_t> slots_;  // indices of entries, at most half of them in use
    unsigned slotBits_ = 0;
    uint32_t newest_ = kNone;
    uint32_t oldest_ = kNone;
    uint32_t free_ = kNone;
    size_t count_ = 0;
    size_t bytes_ = 0;
    size_t byteLimit_;
};
