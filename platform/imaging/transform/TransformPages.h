#pragma once

#include "platform/base/AffineMatrix.h"
#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilMIOImage.h"

#include <optional>

/// What the ways of transforming an image share: limits, the pages that a result touches, what is known to be uniform.

/// Results lie within this distance of the origin.
inline constexpr double kMaxTransformedCoordinate = 1 << 29;

/// Pages of a result, empty ones included: 2^31 pixels.
inline constexpr size_t kMaxTransformedPages = size_t{1} << 19;

/// A result of so many pages (2^24 pixels) is made whole wherever it lies.
inline constexpr size_t kWholePages = size_t{1} << 12;

/// The pages of a result: each once, column by column.
///
/// Of a result of more than kWholePages and of more pages than `kept` has, only those that meet `kept` are listed, so
/// that neither the list nor the work outgrows what can be seen. An empty `kept` keeps all.
class TransformPages {
public:
    using List = qs::vector<std::pair<int, int>>;

    explicit TransformPages(const ilTile& kept);

    /// Adds the pages that the given box of the plane meets. False when it is too far away, or there are too many.
    bool AddBox(double left, double top, double right, double bottom);

    /// Adds what the stored pages of `source`, grown by (growX, growY) pixels, cover after the map.
    bool AddMapped(const ilMIOImage& source, const qsLinear::AffineMatrix& matrix, double growX, double growY);

    /// False when there are too many.
    bool Take(List& pages);

private:
    bool ListPages(ilTile pages);
    bool MakeRoom(int64_t count);
    void RemoveDuplicates();

    ilTile kept_;  // in pages
    size_t mostWhole_;
    bool isCut_ = false;
    List pages_;
};

/// The one value that all pixels of `tile` are known to have, without reading more than pages tell of themselves.
std::optional<uint32_t> FindUniformValue(const ilMIOImage& image, const ilTile& tile);
