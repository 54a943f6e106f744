#pragma once

#include "platform/base/AffineMatrix.h"
#include "platform/base/Containers.h"
#include "platform/imaging/ilMIOImage.h"

#include <optional>

/// What the ways of transforming an image share: limits, the pages that a result touches, what is known to be uniform.

/// Results lie within this distance of the origin.
inline constexpr double kMaxTransformedCoordinate = 1 << 29;

/// Pages of a result, empty ones included.
inline constexpr size_t kMaxTransformedPages = size_t{1} << 19;

/// The pages of a result: each once, column by column.
class TransformPages {
public:
    using List = qs::vector<std::pair<int, int>>;

    /// Adds the pages that the given box of the plane meets. False when it is too far away, or there are too many.
    bool AddBox(double left, double top, double right, double bottom);

    /// Adds what the stored pages of `source`, grown by (growX, growY) pixels, cover after the map.
    bool AddMapped(const ilMIOImage& source, const qsLinear::AffineMatrix& matrix, double growX, double growY);

    /// False when there are too many.
    bool Take(List& pages);

private:
    List pages_;
};

/// The one value that all pixels of `tile` are known to have, without reading more than pages tell of themselves.
std::optional<uint32_t> FindUniformValue(const ilMIOImage& image, const ilTile& tile);
