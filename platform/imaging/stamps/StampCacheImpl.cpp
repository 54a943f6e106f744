#include "platform/imaging/stamps/StampCacheImpl.h"

namespace {

constexpr size_t kDefaultByteLimit = size_t{64} << 20;

}  // namespace

StampCacheImpl& StampCacheImpl::Get()
{
    // Never destroyed: a stroke still open at unload may yet stamp.
    static StampCacheImpl& cache = *new StampCacheImpl(kDefaultByteLimit);
    return cache;
}

size_t StampCacheImpl::HomeOf(const StampKey& key) const
{
    uint64_t mixed = (key.geometry ^ key.identity * 0x9E3779B97F4A7C15U) * 0xD6E8FEB86659FD93U;
    mixed = (mixed ^ mixed >> 32) * 0xD6E8FEB86659FD93U;
    return mixed >> (64 - slotBits_);
}

const StampCoverage* StampCacheImpl::FindOlder(const StampKey& key)
{
    if (count_ == 0)
        return nullptr;
    const size_t mask = slots_.size() - 1;
    for (size_t slot = HomeOf(key); slots_[slot] != kNone; slot = (slot + 1) & mask) {
        const uint32_t index = slots_[slot];
        if (entries_[index].key == key) {
            if (index != newest_) {
                Unlink(index);
                LinkAsNewest(index);
            }
            return entries_[index].coverage.get();
        }
    }
    return nullptr;
}

void StampCacheImpl::Insert(const StampKey& key, qs::Reference<const StampCoverage> coverage)
{
    const size_t bytes = coverage->GetByteCount();
    if (bytes > byteLimit_)
        return;
    while (bytes_ + bytes > byteLimit_)
        RemoveOldest();
    if (2 * (count_ + 1) > slots_.size())
        GrowSlots();
    uint32_t index = free_;
    if (index != kNone) {
        free_ = entries_[index].older;
    } else {
        index = static_cast<uint32_t>(entries_.size());
        entries_.emplace_back();
    }
    entries_[index].key = key;
    entries_[index].coverage = std::move(coverage);
    PlaceInSlots(index);
    LinkAsNewest(index);
    ++count_;
    bytes_ += bytes;
}

void StampCacheImpl::Clear()
{
    entries_.clear();
    slots_.clear();
    slotBits_ = 0;
    newest_ = oldest_ = free_ = kNone;
    count_ = 0;
    bytes_ = 0;
}

void StampCacheImpl::SetByteLimit(size_t bytes)
{
    byteLimit_ = bytes;
    while (bytes_ > byteLimit_)
        RemoveOldest();
}

size_t StampCacheImpl::FindSlot(uint32_t index) const
{
    const size_t mask = slots_.size() - 1;
    size_t slot = HomeOf(entries_[index].key);
    while (slots_[slot] != index)
        slot = (slot + 1) & mask;
    return slot;
}

void StampCacheImpl::PlaceInSlots(uint32_t index)
{
    const size_t mask = slots_.size() - 1;
    size_t slot = HomeOf(entries_[index].key);
    while (slots_[slot] != kNone)
        slot = (slot + 1) & mask;
    slots_[slot] = index;
}

void StampCacheImpl::GrowSlots()
{
    const unsigned bits = slots_.empty() ? kMinSlotBits : slotBits_ + 1;
    slots_ = qs::vector<uint32_t>(size_t{1} << bits, kNone);
    slotBits_ = bits;
    for (uint32_t index = newest_; index != kNone; index = entries_[index].older)
        PlaceInSlots(index);
}

/// Moves those that follow back into the gap, so that no search ends before what it seeks.
void StampCacheImpl::RemoveSlot(size_t slot)
{
    const size_t mask = slots_.size() - 1;
    size_t gap = slot;
    for (size_t next = (gap + 1) & mask; slots_[next] != kNone; next = (next + 1) & mask) {
        const size_t home = HomeOf(entries_[slots_[next]].key);
        if (((next - home) & mask) >= ((next - gap) & mask)) {
            slots_[gap] = slots_[next];
            gap = next;
        }
    }
    slots_[gap] = kNone;
}

void StampCacheImpl::Unlink(uint32_t index)
{
    const Entry& entry = entries_[index];
    (entry.newer == kNone ? newest_ : entries_[entry.newer].older) = entry.older;
    (entry.older == kNone ? oldest_ : entries_[entry.older].newer) = entry.newer;
}

void StampCacheImpl::LinkAsNewest(uint32_t index)
{
    entries_[index].newer = kNone;
    entries_[index].older = newest_;
    (newest_ == kNone ? oldest_ : entries_[newest_].newer) = index;
    newest_ = index;
}

void StampCacheImpl::RemoveOldest()
{
    const uint32_t index = oldest_;
    RemoveSlot(FindSlot(index));
    Unlink(index);
    Entry& entry = entries_[index];
    bytes_ -= entry.coverage->GetByteCount();
    entry.coverage.reset();
    entry.older = free_;
    free_ = index;
    --count_;
}
