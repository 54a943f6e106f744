#include "platform/imaging/DamageControl.h"

#include <algorithm>

namespace {

constexpr size_t kMaxTiles = 24;

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

void DamageControl::DamageTile(const ilTile& tile)
{
    if (tile.IsEmpty())
        return;
    // From the newest to the oldest: a stroke adds its stamps next to each other, and what grew last stands at the end.
    for (size_t i = tiles_.size(); i-- > 0;) {
        if (tiles_[i].Contains(tile))
            return;
        if (IsWorthJoining(tiles_[i], tile)) {
            Grow(i, tile);
            return;
        }
    }
    if (tiles_.size() < kMaxTiles) {
        tiles_.push_back(tile);
        return;
    }
    const auto growth = [&tile](const ilTile& old) { return AreaOf(ilTileUnion(old, tile)) - AreaOf(old); };
    const auto least = std::min_element(tiles_.begin(), tiles_.end(),
                                        [&](const ilTile& a, const ilTile& b) { return growth(a) < growth(b); });
    Grow(static_cast<size_t>(least - tiles_.begin()), tile);
}

void DamageControl::Grow(size_t index, const ilTile& tile)
{
    tiles_[index] = ilTileUnion(tiles_[index], tile);
    std::rotate(tiles_.begin() + static_cast<ptrdiff_t>(index), tiles_.begin() + static_cast<ptrdiff_t>(index) + 1,
                tiles_.end());
}

bool DamageControl::nextDamaged(ilTile& tile)
{
    if (tiles_.empty())
        return false;
    tile = tiles_.front();
    tiles_.erase(tiles_.begin());
    return true;
}

ilTile DamageControl::previewEntireDamaged() const
{
    ilTile all;
    for (const ilTile& tile : tiles_)
        all = ilTileUnion(all, tile);
    return all;
}
