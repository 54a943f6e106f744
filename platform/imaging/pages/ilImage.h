#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilPixel.h"
#include "platform/imaging/pages/ilTile.h"

#include <cstddef>
#include <cstdint>

class ilMIOImage;
class ilMemoryImg;

/// Any image of 8-bit components: 4 channels premultiplied R, G, B, A, or 1 channel of coverage.
///
/// Coordinates are the image's own, y down, negative ones included where the kind allows. What lies outside the stored
/// area reads as the fill value. Images are shared by reference, never copied implicitly.
class PAINTLAYER_EXPORT ilImage : public qs::ReferenceCount {
public:
    ilImage(const ilImage&) = delete;
    ilImage& operator=(const ilImage&) = delete;

    int GetDataType() const { return fill_.GetDataType(); }
    int GetNumChannels() const { return fill_.GetNumChannels(); }
    ilPixel GetFillValue() const { return fill_; }

    /// The stored area, in the image's coordinates; empty when nothing is stored.
    virtual ilTile GetBounds() const = 0;

    /// Narrowing without run-time type information; null for the other kind.
    virtual ilMIOImage* AsPaged() { return nullptr; }
    virtual const ilMIOImage* AsPaged() const { return nullptr; }
    virtual ilMemoryImg* AsMemory() { return nullptr; }
    virtual const ilMemoryImg* AsMemory() const { return nullptr; }

    /// Stores `value` in every pixel of `tile` (cut to the image where it is bounded).
    virtual void fillTile(const ilTile& tile, const ilPixel& value) = 0;

    /// Copies nx × ny pixels from (sourceX, sourceY) of `source` to (x, y); the z arguments and nz are 0, 0 and 1.
    /// Whole pages are shared, not copied, where both images are paged and their pages line up. The images have the
    /// same number of channels (otherwise nothing happens) and may be the same image only if the areas are apart.
    void copyTile3D(int x, int y, int z, int nx, int ny, int nz, const ilImage& source, int sourceX, int sourceY,
                    int sourceZ);

    /// Reads `tile` into rows of `strideBytes`, components interleaved; outside the stored area the fill value.
    void ReadTile(const ilTile& tile, uint8_t* rows, ptrdiff_t strideBytes) const;

    /// Writes rows of `strideBytes` over `tile`.
    void WriteTile(const ilTile& tile, const uint8_t* rows, ptrdiff_t strideBytes);

    /// One pixel; the fill value outside.
    ilPixel GetPixel(int x, int y) const;
    void SetPixel(int x, int y, const ilPixel& value);

protected:
    explicit ilImage(const ilPixel& fill) : fill_(fill) {}

    ilPixel fill_;
};
