#include "platform/imaging/pages/PageAllocator.h"

#include <new>
#include <utility>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

constexpr size_t kArenaBytes = size_t{2} << 20;  // one huge page
constexpr size_t kReserveArenas = 16;  // kept when unused memory goes back: the next document's first pages
constexpr size_t kSmallBlock = 4096;  // a one-channel page
constexpr size_t kLargeBlock = 16384;  // a four-channel page

/// An arena holds blocks of one size. It begins with nothing cut: memory that no block needed is never touched.
struct Arena {
    uint8_t* memory = nullptr;
    size_t blockBytes = 0;
    size_t first = 0;  // where the first block was cut; the others follow it, around the end
    size_t cut = 0;  // bytes handed out at least once
    size_t inUse = 0;  // blocks handed out now
};

/// Layers of equal size would have the same page at the same place of an arena each. The processor's caches tell
/// addresses apart by just these bits, so that a composite of many such layers would find room for a few of them only:
/// each arena begins elsewhere.
size_t FirstOf(size_t arena, size_t blockBytes)
{
    const uint32_t scattered = static_cast<uint32_t>(arena) * 2654435769U;  // 2^32 by the golden ratio
    return (scattered >> 16) * blockBytes % kArenaBytes;
}

uint8_t* MapArena()
{
#if defined(__linux__)
    // Over-allocate to align: only an aligned arena can be backed by one huge page.
    void* raw =
        mmap(nullptr, 2 * kArenaBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (raw == MAP_FAILED)
        throw std::bad_alloc();
    auto* bytes = static_cast<uint8_t*>(raw);
    const size_t head = (kArenaBytes - reinterpret_cast<uintptr_t>(bytes) % kArenaBytes) % kArenaBytes;
    if (head != 0)
        munmap(bytes, head);
    if (head != kArenaBytes)
        munmap(bytes + head + kArenaBytes, kArenaBytes - head);
    madvise(bytes + head, kArenaBytes, MADV_HUGEPAGE);
    return bytes + head;
#else
    return static_cast<uint8_t*>(::operator new (kArenaBytes, std::align_val_t{kArenaBytes}));
#endif
}

void UnmapArena(uint8_t* memory) noexcept
{
#if defined(__linux__)
    munmap(memory, kArenaBytes);
#else
    ::operator delete (memory, std::align_val_t{kArenaBytes});
#endif
}

/// Free blocks are linked through their own first bytes.
struct FreeBlock {
    FreeBlock* next;
};

class ArenaMemory final : public PageMemoryPort {
public:
    uint8_t* Allocate(size_t bytes) override
    {
        FreeBlock*& list = ListFor(bytes);
        if (list == nullptr)
            return CutBlock(bytes);
        FreeBlock* block = list;
        list = block->next;
        return reinterpret_cast<uint8_t*>(block);
    }

    void Free(uint8_t* block, size_t bytes) noexcept override
    {
        FreeBlock*& list = ListFor(bytes);
        auto* freed = reinterpret_cast<FreeBlock*>(block);
        freed->next = list;
        list = freed;
    }

    void ReleaseUnused();

private:
    FreeBlock*& ListFor(size_t bytes) { return bytes <= kSmallBlock ? freeSmall_ : freeLarge_; }
    uint8_t* CutBlock(size_t bytes);
    void DropFreeBlocksOf(const std::vector<uint8_t*>& emptyArenas, FreeBlock*& list) const;
    size_t IndexOf(const void* block) const;

    std::vector<Arena> arenas_;
    size_t made_ = 0;  // arenas, ever
    FreeBlock* freeSmall_ = nullptr;
    FreeBlock* freeLarge_ = nullptr;
    size_t openSmall_ = SIZE_MAX;  // the arena that new blocks are cut from
    size_t openLarge_ = SIZE_MAX;
};

uint8_t* ArenaMemory::CutBlock(size_t bytes)
{
    const size_t blockBytes = bytes <= kSmallBlock ? kSmallBlock : kLargeBlock;
    size_t& open = blockBytes == kSmallBlock ? openSmall_ : openLarge_;
    if (open == SIZE_MAX || arenas_[open].cut + blockBytes > kArenaBytes) {
        arenas_.reserve(arenas_.size() + 1);  // before mapping: nothing leaks when this throws
        arenas_.push_back({MapArena(), blockBytes, FirstOf(made_++, blockBytes), 0, 0});
        open = arenas_.size() - 1;
    }
    Arena& arena = arenas_[open];
    uint8_t* block = arena.memory + (arena.first + arena.cut) % kArenaBytes;
    arena.cut += blockBytes;
    return block;
}

size_t ArenaMemory::IndexOf(const void* block) const
{
    const auto base = reinterpret_cast<uintptr_t>(block) / kArenaBytes * kArenaBytes;
    for (size_t i = 0; i < arenas_.size(); ++i)
        if (reinterpret_cast<uintptr_t>(arenas_[i].memory) == base)
            return i;
    return SIZE_MAX;
}

void ArenaMemory::DropFreeBlocksOf(const std::vector<uint8_t*>& emptyArenas, FreeBlock*& list) const
{
    FreeBlock* kept = nullptr;
    while (list != nullptr) {
        FreeBlock* block = list;
        list = block->next;
        const auto base = reinterpret_cast<uintptr_t>(block) / kArenaBytes * kArenaBytes;
        bool isGone = false;
        for (const uint8_t* arena : emptyArenas)
            isGone = isGone || reinterpret_cast<uintptr_t>(arena) == base;
        if (isGone)
            continue;
        block->next = kept;
        kept = block;
    }
    list = kept;
}

void ArenaMemory::ReleaseUnused()
{
    // In-use counts are made here, not kept: this is rare, allocation is not.
    for (Arena& arena : arenas_)
        arena.inUse = arena.cut / arena.blockBytes;
    for (const FreeBlock* list : {freeSmall_, freeLarge_})
        for (const FreeBlock* block = list; block != nullptr; block = block->next)
            --arenas_[IndexOf(block)].inUse;
    std::vector<uint8_t*> empty;
    size_t reserve = kReserveArenas;
    for (Arena& arena : arenas_) {
        if (arena.inUse != 0)
            continue;
        if (reserve > 0 && arena.blockBytes == kLargeBlock)
            --reserve;
        else
            empty.push_back(std::exchange(arena.memory, nullptr));
    }
    DropFreeBlocksOf(empty, freeSmall_);
    DropFreeBlocksOf(empty, freeLarge_);
    std::erase_if(arenas_, [](const Arena& arena) { return arena.memory == nullptr; });
    for (uint8_t* memory : empty)
        UnmapArena(memory);
    openSmall_ = SIZE_MAX;
    openLarge_ = SIZE_MAX;
}

/// Never destroyed: pages may be released by other static objects at unload.
ArenaMemory& GetArenas()
{
    static ArenaMemory& arenas = *new ArenaMemory;
    return arenas;
}

PageMemoryPort* currentPort = nullptr;
size_t bytesInUse = 0;

}  // namespace

namespace PageAllocator {

uint8_t* Allocate(size_t bytes)
{
    uint8_t* block = currentPort != nullptr ? currentPort->Allocate(bytes) : GetArenas().Allocate(bytes);
    bytesInUse += bytes;
    return block;
}

void Free(uint8_t* block, size_t bytes) noexcept
{
    bytesInUse -= bytes;
    if (currentPort != nullptr)
        currentPort->Free(block, bytes);
    else
        GetArenas().Free(block, bytes);
}

PageMemoryPort* SetPort(PageMemoryPort* port)
{
    PageMemoryPort* previous = currentPort;
    currentPort = port;
    return previous;
}

size_t GetBytesInUse()
{
    return bytesInUse;
}

void ReleaseUnused()
{
    GetArenas().ReleaseUnused();
}

}  // namespace PageAllocator
