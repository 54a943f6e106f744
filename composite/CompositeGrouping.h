#pragma once

#include "platform/base/Containers.h"

#include <cstddef>

class CompositeBase;
class LayerStack;

/// How the children of a node on the path to the reference are grouped for caching.
///
///     below     one group. Among many members every 16 from the bottom up are a group within the next, so a reference
///               that moves leaves most of them as they are. Composing them in turn is composing the members in turn,
///               byte for byte, fractions included.
///     path      the child that holds the reference, live.
///     between   up to the last member that reads what lies below it: one by one, live.
///     above     the fine members (see CompositeBase) above the path: one group, of groups of 32 counted from its top,
///               so again few change when the reference moves.
///
/// A group above is painted as one picture: what that rounds otherwise than member after member is a small part of a
/// level. The grouping is a function of the members' order, their modes and the path child, and of nothing else.
namespace CompositeGrouping {

/// Splits the children around `pathChild`, reusing every present group whose members are the wanted ones, with its
/// cache. Throws std::bad_alloc with the node unchanged. For this and the next: the fineness is settled.
void Split(CompositeBase& parent, const CompositeBase* pathChild);

/// Groups all children as below, for a node without a reference in it. asOneGroup: they are cached apart from the node.
void Join(CompositeBase& parent, bool asOneGroup);

/// Dissolves all groups.
void Open(CompositeBase& parent);

/// Damages the canvas pages on which the picture of the parent's members may differ between the path children at
/// positions `oldPath` and `newPath`; the number of members stands for none. Only pages where a member that was or
/// becomes part of the group above has stored pixels, together with another one and something beneath, can differ.
void DamageDifference(const CompositeBase& parent, size_t oldPath, size_t newPath);

}  // namespace CompositeGrouping
