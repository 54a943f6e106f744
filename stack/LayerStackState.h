#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/imaging/pages/DamageControl.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/strokes/Symmetry.h"

#include <concepts>
#include <cstdint>
#include <memory>
#include <tuple>

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
    int resolutionX_ = 100;
    int resolutionY_ = 100;
    PaintColor backgroundColor_{1, 1, 1, 1};
    float selectionDisplayOpacity_ = 0.5F;
    float maskDisplayOpacity_ = 0.5F;
    PaintColor selectionDisplayColor_{0.7245F, 0.4274F, 0.396F, 1};
    PaintColor maskDisplayColor_{1, 0, 0, 1};
    OwnedSymmetry symmetry_;
    bool showCurrentLayerOnly_ = false;
    bool maskDisable_ = false;
    bool maskVisible_ = true;
    int floodFillGrowthPx_ = 0;
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

/// What a document has besides its containers, its caches and who looks at it: a copy of it has all of this.
struct LayerStackState : DocumentProperties {
    qsOS::Uuid instance_;
    int compositesSuspended_ = 0;
    bool timerBasedUpdate_ = false;
    bool treeIsStale_ = false;  // the structure changed since the composite tree was built
    bool maskIsStale_ = false;  // the selection mask changed since the composite mask was made
    ilTile size_;
    bool clipToSize_ = true;
    DamageControl canvasDamage_;
    uint64_t damageSerial_ = 0;  // grows with every tile damaged
    bool needsFullRedraw_ = false;
    qs::list<qs::vector<PntHandle>> transformGroups_;
    qs::TempReference<ilSmartImage> stencilScratch_;  // the current layer while a masked stroke runs
    qs::Reference<PaintOps> stencilScratchPainter_;
};
