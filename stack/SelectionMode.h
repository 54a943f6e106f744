#pragma once

/// How a new shape meets the selection that is there.
enum class SelectionMode : int { Replace, Add, Subtract, Intersect };
