#pragma once

#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/strokes/Symmetry.h"

#include <concepts>
#include <memory>
#include <tuple>
#include <type_traits>

/// A symmetry, or none, by value: a copy has its own.
class OwnedSymmetry : public std::unique_ptr<Symmetry> {
public:
    OwnedSymmetry() = default;
    OwnedSymmetry(const OwnedSymmetry& other) : unique_ptr(other ? std::make_unique<Symmetry>(*other) : nullptr) {}
    OwnedSymmetry(OwnedSymmetry&&) noexcept = default;
    OwnedSymmetry& operator=(OwnedSymmetry other) noexcept
    {
        swap(other);
        return *this;
    }

    bool operator==(const OwnedSymmetry& other) const { return !*this || !other ? !*this == !other : **this == *other; }
};

/// What is set of a document as a whole without an edit of its picture or structure.
struct DocumentProperties {
    int resolutionX = 100;
    int resolutionY = 100;
    PaintColor backgroundColor{1, 1, 1, 1};
    float selectionDisplayOpacity = 0.5F;
    float maskDisplayOpacity = 0.5F;
    PaintColor selectionDisplayColor{0.7245F, 0.4274F, 0.396F, 1};
    PaintColor maskDisplayColor{1, 0, 0, 1};
    OwnedSymmetry symmetry;
    bool showCurrentLayerOnly = false;
    bool maskDisable = false;
    bool maskVisible = true;
    int floodFillGrowthPx = 0;
};

/// The members one by one. A member that is not named here does not compile.
constexpr auto MembersOf(auto& properties) requires
    std::same_as<std::remove_const_t<std::remove_reference_t<decltype(properties)>>, DocumentProperties>
{
    auto& [resolutionX, resolutionY, background, selectionOpacity, maskOpacity, selectionColor, maskColor, symmetry,
           isCurrentOnly, isMaskDisabled, isMaskVisible, growth] = properties;
    return std::tie(resolutionX, resolutionY, background, selectionOpacity, maskOpacity, selectionColor, maskColor,
                    symmetry, isCurrentOnly, isMaskDisabled, isMaskVisible, growth);
}
