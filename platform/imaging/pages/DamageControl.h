#pragma once

#include "platform/base/Export.h"
#include "platform/imaging/pages/ilTile.h"

#include <array>
#include <cstddef>

/// A region of damaged tiles: what has changed and waits to be shown. Tiles that overlap or nearly do are joined, and
/// the list stays short, so that adding a tile is cheap however many are added; the region may grow a little by that,
/// never shrink, but for what lies beyond kFarthestPixel. It has its memory beforehand, so damage is never lost.
class PAINTLAYER_EXPORT DamageControl {
public:
    virtual ~DamageControl() = default;
    DamageControl() = default;
    DamageControl(const DamageControl&) = default;
    DamageControl& operator=(const DamageControl&) = default;

    /// Adds a tile; an empty one changes nothing.
    virtual void DamageTile(const ilTile& tile) noexcept;

    bool anyDamaged() const { return count_ > 0; }

    /// Removes the tile that has gone longest without growing and stores it in `tile`; false, with `tile` untouched,
    /// when there is none.
    bool nextDamaged(ilTile& tile) noexcept;

    /// The bounding tile of all damage, which stays; the empty tile without damage.
    ilTile previewEntireDamaged() const noexcept;

    void Clear() noexcept { count_ = 0; }

private:
    static constexpr size_t kMaxTiles = 24;

    void Grow(ilTile* old, const ilTile& tile) noexcept;
    ilTile* End() { return tiles_.data() + count_; }

    std::array<ilTile, kMaxTiles> tiles_;  // the first `count_`; a tile that grows moves to their end
    size_t count_ = 0;
};
