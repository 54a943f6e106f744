#include "platform/imaging/pages/ilMemoryImg.h"

#include "platform/imaging/pages/PageWalk.h"

#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

/// Zeroed memory of which only what is touched becomes resident. Small blocks come from the heap.
static_assert(ilMemoryImg::kCellSize == kPageSize);  // cells are walked as pages are
constexpr size_t kMapFrom = size_t{1} << 18;

uint8_t* AllocateZeroed(size_t bytes)
{
#if defined(__linux__)
    if (bytes >= kMapFrom) {
        void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        return static_cast<uint8_t*>(memory);
    }
#endif
    void* memory = std::calloc(bytes, 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return static_cast<uint8_t*>(memory);
}

void FreeZeroed(uint8_t* memory, size_t bytes) noexcept
{
#if defined(__linux__)
    if (bytes >= kMapFrom) {
        munmap(memory, bytes);
        return;
    }
#endif
    std::free(memory);
}

int CellsFor(int pixels)
{
    return (pixels - 1) / kPageSize + 1;
}

}  // namespace

ilMemoryImg::ilMemoryImg(int width, int height, int channels)
    : ilImage(ilPixel(kUnsignedByte, channels)), width_(std::max(width, 1)), height_(std::max(height, 1)),
      stride_(ptrdiff_t{width_} * GetNumChannels()),
      bytes_(static_cast<size_t>(stride_) * static_cast<size_t>(height_)), pixels_(nullptr),
      cellsAcross_(CellsFor(width_)),
      blank_(static_cast<size_t>(cellsAcross_) * static_cast<size_t>(CellsFor(height_)), uint8_t{1}),
      writtenInRow_(static_cast<size_t>(CellsFor(height_)), 0)
{
    pixels_ = AllocateZeroed(bytes_);
}

ilMemoryImg::~ilMemoryImg()
{
    FreeZeroed(pixels_, bytes_);
}

void ilMemoryImg::MarkCell(int cellX, int cellY, bool blank)
{
    uint8_t& cell = blank_[static_cast<size_t>(cellY) * static_cast<size_t>(cellsAcross_) + static_cast<size_t>(cellX)];
    writtenInRow_[static_cast<size_t>(cellY)] += (cell != 0 ? 1 : 0) - (blank ? 1 : 0);
    cell = blank ? 1 : 0;
}

void ilMemoryImg::MarkWritten(const ilTile& tile)
{
    ForEachPage(tile, [&](int cx, int cy, const ilTile&) { MarkCell(cx, cy, false); });
}

uint8_t* ilMemoryImg::WriteRows(const ilTile& tile)
{
    MarkWritten(tile);
    return pixels_ + tile.y * stride_ + ptrdiff_t{tile.x} * GetNumChannels();
}

void ilMemoryImg::ClearTile(const ilTile& tile)
{
    VisitWrittenCells(tile, [&](int cx, int cy) {
        const ilTile part = ilTileIntersection(tile, PageTile(cx, cy));
        uint8_t* row = pixels_ + part.y * stride_ + ptrdiff_t{part.x} * GetNumChannels();
        for (int y = 0; y < part.ny; ++y, row += stride_)
            std::memset(row, 0, static_cast<size_t>(part.nx) * static_cast<size_t>(GetNumChannels()));
        if (part == ilTileIntersection(PageTile(cx, cy), GetBounds()))
            MarkCell(cx, cy, true);
    });
}

void ilMemoryImg::fillTile(const ilTile& tile, const ilPixel& value)
{
    const ilTile inside = ilTileIntersection(tile, GetBounds());
    if (inside.IsEmpty())
        return;
    if (value.GetPacked() == 0) {
        ClearTile(inside);
        return;
    }
    uint8_t* row = WriteRows(inside);
    const uint32_t packed = value.GetPacked();
    for (int y = 0; y < inside.ny; ++y, row += stride_) {
        if (GetNumChannels() == 1) {
            std::memset(row, static_cast<int>(packed & 0xFF), static_cast<size_t>(inside.nx));
            continue;
        }
        for (int x = 0; x < inside.nx; ++x)
            std::memcpy(row + 4 * x, &packed, 4);
    }
}

qs::Reference<ilMemoryImg> ilMemoryImg::TurnedQuarter(bool right) const
{
    const int channels = GetNumChannels();
    qs::Reference<ilMemoryImg> turned(new ilMemoryImg(height_, width_, channels));
    uint8_t* out = turned->WriteRows(turned->GetBounds());
    for (int y = 0; y < turned->height_; ++y, out += turned->stride_)
        for (int x = 0; x < turned->width_; ++x) {
            const int sourceX = right ? y : width_ - 1 - y;
            const int sourceY = right ? height_ - 1 - x : x;
            std::memcpy(out + x * channels, GetRow(sourceY) + ptrdiff_t{sourceX} * channels,
                        static_cast<size_t>(channels));
        }
    return turned;
}
