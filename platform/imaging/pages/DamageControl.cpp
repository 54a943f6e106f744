#include "platform/imaging/pages/DamageControl.h"

#include <algorithm>

namespace {

/// Tiles are joined when that adds little area: a joined tile is shown at once, two cost the same work twice.
constexpr double kJoinedAreaLimit = 1.3;

double AreaOf(const ilTile& tile)
{
    return static_cast<double>(tile.Area());
}

bool IsWorthJoining(const ilTile& a, const ilTile& b)
{
    return AreaOf(ilTileUnion(a, b)) <= kJoinedAreaLimit * (AreaOf(a) + AreaOf(b));
}

}  // namespace

void DamageControl::DamageTile(const ilTile& tile) noexcept
{
    if (tile.IsEmpty())
        return;
    // From the newest to the oldest: a stroke adds its stamps next to each other, and what grew last stands at the end.
    for (ilTile* old = End(); old-- != tiles_.data();) {
        if (old->Contains(tile))
            return;
        if (IsWorthJoining(*old, tile)) {
            Grow(old, tile);
            return;
        }
    }
    if (count_ < kMaxTiles) {
        tiles_[count_++] = tile;
        return;
    }
    const auto growth = [&tile](const ilTile& old) { return AreaOf(ilTileUnion(old, tile)) - AreaOf(old); };
    Grow(
        std::min_element(tiles_.data(), End(), [&](const ilTile& a, const ilTile& b) { return growth(a) < growth(b); }),
        tile);
}

void DamageControl::Grow(ilTile* old, const ilTile& tile) noexcept
{
    *old = ilTileUnion(*old, tile);
    std::rotate(old, old + 1, End());
}

bool DamageControl::nextDamaged(ilTile& tile) noexcept
{
    if (count_ == 0)
        return false;
    tile = tiles_.front();
    std::copy(tiles_.data() + 1, End(), tiles_.data());
    --count_;
    return true;
}

ilTile DamageControl::previewEntireDamaged() const noexcept
{
    ilTile all;
    for (size_t i = 0; i < count_; ++i)
        all = ilTileUnion(all, tiles_[i]);
    return all;
}
