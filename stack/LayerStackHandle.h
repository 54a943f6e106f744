#pragma once

/// A document's handle is its place in the paint manager's table: 0 to kMaxLayerStacks - 1, or one of these.
inline constexpr int kMaxLayerStacks = 512;
inline constexpr int kNoLayerStack = -1;
inline constexpr int kCurrentLayerStack = -2;
