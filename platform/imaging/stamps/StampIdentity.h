#pragma once

#include <cstdint>

/// The identity that all hard profiles share: their stamps look the same.
inline constexpr uint64_t kHardStampIdentity = 1;

/// A number that no other profile or mask of this process has; it names what a cached stamp coverage was made from.
uint64_t MakeStampIdentity();
