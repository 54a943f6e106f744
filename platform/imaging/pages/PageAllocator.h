#pragma once

#include <cstddef>
#include <cstdint>

/// Where pixel memory of pages comes from. Tests replace it to make allocation fail or to count.
class PageMemoryPort {
public:
    virtual ~PageMemoryPort() = default;

    /// A block for `bytes` (4 KiB or 16 KiB), aligned to 64 bytes, contents undefined. Throws std::bad_alloc.
    virtual uint8_t* Allocate(size_t bytes) = 0;
    virtual void Free(uint8_t* block, size_t bytes) noexcept = 0;
};

/// The memory of pages: blocks are cut from large arenas (huge pages where the system has them) and recycled, because
/// memory fresh from the system costs five times its reading.
namespace PageAllocator {

uint8_t* Allocate(size_t bytes);
void Free(uint8_t* block, size_t bytes) noexcept;

/// Null restores the built-in allocator. Blocks go back to the port that is set when they are freed: change it only
/// around a block of code that frees what it made, or forward to the previous one.
PageMemoryPort* SetPort(PageMemoryPort* port);

/// Bytes handed out now.
size_t GetBytesInUse();

/// Gives recycled memory back to the system, but for a reserve of 32 MiB.
void ReleaseUnused();

}  // namespace PageAllocator
