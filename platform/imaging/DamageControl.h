#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/ilTile.h"

#include <cstddef>

/// A region of damaged tiles: what has changed and waits to be shown. Tiles that overlap or nearly do are joined, and
/// the list stays short, so that adding a tile is cheap however many are added; the region may grow a little by that,
/// never shrink.
class PAINTLAYER_EXPORT DamageControl {
public:
    virtual ~DamageControl() = default;
    DamageControl() = default;
    DamageControl(const DamageControl&) = default;
    DamageControl& operator=(const DamageControl&) = default;

    /// Adds a tile; an empty one changes nothing.
    virtual void DamageTile(const ilTile& tile);

    bool anyDamaged() const { return !tiles_.empty(); }

    /// Removes the tile that has gone longest without growing and stores it in `tile`; false, with `tile` untouched,
    /// when there is none.
    bool nextDamaged(ilTile& tile);

    /// The bounding tile of all damage, which stays; the empty tile without damage.
    ilTile previewEntireDamaged() const;

    void Clear() { tiles_.clear(); }

private:
    void Grow(size_t index, const ilTile& tile);

    qs::vector<ilTile> tiles_;  // a tile that grows moves to the end
};
