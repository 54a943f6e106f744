#pragma once

#include <cstdint>

namespace kernels {

/// A weight of 0 to 1 as 0 to 65535 (65535 is exactly one).
using Weight = uint16_t;
inline constexpr Weight kFullWeight = 65535;

}  // namespace kernels
