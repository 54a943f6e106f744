#pragma once

#include "platform/base/Export.h"

#include <algorithm>
#include <cstdint>

/// A half-open box of pixels: [x, x + nx) × [y, y + ny) × [z, z + nz); pixel (x, y) covers [x, x + 1) × [y, y + 1).
/// Images are one deep: z is 0 and nz is 1. Extents below 1 make the tile empty. Edges are computed in 64 bits, so
/// that no tile made of ints overflows.
struct ilTile {
    int x = 0;
    int y = 0;
    int z = 0;
    int nx = 0;
    int ny = 0;
    int nz = 1;

    constexpr ilTile() = default;
    constexpr ilTile(int left, int top, int width, int height) : x(left), y(top), nx(width), ny(height) {}
    constexpr ilTile(int left, int top, int front, int width, int height, int depth)
        : x(left), y(top), z(front), nx(width), ny(height), nz(depth)
    {}

    constexpr bool IsEmpty() const { return nx < 1 || ny < 1 || nz < 1; }
    constexpr int64_t Right() const { return int64_t{x} + nx; }  // first column outside
    constexpr int64_t Bottom() const { return int64_t{y} + ny; }  // first row outside
    constexpr int64_t Area() const { return IsEmpty() ? 0 : int64_t{nx} * ny; }

    constexpr bool Contains(int64_t px, int64_t py) const
    {
        return !IsEmpty() && px >= x && py >= y && px < Right() && py < Bottom();
    }
    constexpr bool Contains(const ilTile& other) const
    {
        return other.IsEmpty() ||
               (!IsEmpty() && other.x >= x && other.y >= y && other.Right() <= Right() && other.Bottom() <= Bottom());
    }

    friend constexpr bool operator==(const ilTile&, const ilTile&) = default;
};

/// Pixels farther than this from the axes are out of reach of every canvas and layer.
inline constexpr int kFarthestPixel = 1 << 30;

/// The tile that spans [left, right) × [top, bottom), cut to the range of int; empty when nothing is left. A span that
/// is longer than an int can tell keeps what lies within kFarthestPixel.
constexpr ilTile ilTileFromEdges(int64_t left, int64_t top, int64_t right, int64_t bottom)
{
    constexpr auto cut = [](int64_t& low, int64_t& high) {
        low = std::clamp<int64_t>(low, INT32_MIN, INT32_MAX);
        high = std::clamp<int64_t>(high, low, INT32_MAX);
        if (high - low > INT32_MAX) {
            low = std::max<int64_t>(low, -kFarthestPixel);
            high = std::min<int64_t>(high, low + INT32_MAX);
        }
    };
    cut(left, right);
    cut(top, bottom);
    return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
            static_cast<int>(bottom - top)};
}

/// The smallest tile that holds both, as ilTileFromEdges cuts it; an empty operand adds nothing.
constexpr ilTile ilTileUnion(const ilTile& a, const ilTile& b)
{
    if (a.IsEmpty())
        return b;
    if (b.IsEmpty())
        return a;
    return ilTileFromEdges(std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.Right(), b.Right()),
                           std::max(a.Bottom(), b.Bottom()));
}

/// What both tiles cover; a tile with extents of 0 where they do not meet.
constexpr ilTile ilTileIntersection(const ilTile& a, const ilTile& b)
{
    if (a.IsEmpty() || b.IsEmpty())
        return {};
    const int64_t left = std::max(a.x, b.x);
    const int64_t top = std::max(a.y, b.y);
    const int64_t right = std::min(a.Right(), b.Right());
    const int64_t bottom = std::min(a.Bottom(), b.Bottom());
    if (left >= right || top >= bottom)
        return {};
    return ilTileFromEdges(left, top, right, bottom);
}

/// The tile moved by (dx, dy); what leaves the range of int is cut off.
constexpr ilTile ilTileMoved(const ilTile& tile, int64_t dx, int64_t dy)
{
    if (tile.IsEmpty())
        return tile;
    return ilTileFromEdges(tile.x + dx, tile.y + dy, tile.Right() + dx, tile.Bottom() + dy);
}
