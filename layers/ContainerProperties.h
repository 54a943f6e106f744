#pragma once

#include "layers/AppData.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/pages/PaintColor.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

/// What is set of a container without touching pixels, place or order. A plain value, so that copies of a container
/// have all of it; what has no meaning for a kind of container stays as it is here.
struct ContainerProperties {
    static constexpr size_t kNameSize = 128;  // the ending 0 included; zeros follow the name to the end

    std::array<char, kNameSize> name{'N', 'O', 'N', 'E'};
    LayerBlendMode blend = kBlendNormal;
    float opacity = 1;
    float displayOpacity = 0.5F;  // of a mask or stencil, as the colour
    PaintColor displayColor{1, 0, 0, 1};
    bool isVisible = true;
    bool isActive = true;
    bool isLocked = false;
    AppData appData;  // of a layer

    bool operator==(const ContainerProperties&) const = default;
};

/// One of the properties that can be a step of undo: its place among the members, of which the host's data is the last.
enum class ContainerProperty { Name, Blend, Opacity, DisplayOpacity, DisplayColor, Visible, Active, Locked, Count };

/// The members one by one, in the order of ContainerProperty. A member that is not named here does not compile.
constexpr auto MembersOf(auto& properties) requires
    std::same_as<std::remove_const_t<std::remove_reference_t<decltype(properties)>>, ContainerProperties>
{
    auto& [name, blend, opacity, displayOpacity, displayColor, isVisible, isActive, isLocked, appData] = properties;
    return std::tie(name, blend, opacity, displayOpacity, displayColor, isVisible, isActive, isLocked, appData);
}

/// What two versions of the same thing agree on: each member of `stored`, but that of `now` where it was changed since
/// `base` was taken. For any type with MembersOf.
template <class Properties>
Properties MergeProperties(const Properties& stored, const Properties& base, const Properties& now)
{
    Properties merged = stored;
    auto to = MembersOf(merged);
    const auto before = MembersOf(base);
    const auto after = MembersOf(now);
    const auto take = [](auto& member, const auto& was, const auto& is) {
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(member)>, AppData>)
            member.TakeChanges(was, is);
        else if (!(was == is))
            member = is;
    };
    [&]<size_t... I>(std::index_sequence<I...>)
    {
        (take(std::get<I>(to), std::get<I>(before), std::get<I>(after)), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<decltype(to)>>());
    return merged;
}

/// Exchanges one property between two values.
inline void SwapProperty(ContainerProperty which, ContainerProperties& a, ContainerProperties& b)
{
    auto left = MembersOf(a);
    auto right = MembersOf(b);
    [&]<size_t... I>(std::index_sequence<I...>)
    {
        ((static_cast<size_t>(which) == I ? std::swap(std::get<I>(left), std::get<I>(right)) : void()), ...);
    }
    (std::make_index_sequence<static_cast<size_t>(ContainerProperty::Count)>());
}
