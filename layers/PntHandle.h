#pragma once

#include "platform/base/Export.h"
#include "platform/base/Uuid.h"

/// The name of an object that a host can speak of: a document, a container, a shape, an object image. A plain value;
/// two handles are equal when both parts are.
struct PAINTLAYER_EXPORT PntHandle {
    /// A fresh, unique handle that belongs to no document.
    PntHandle() : layerStack(qsOS::Uuid::generate()), own(qsOS::Uuid::generate()) {}
    constexpr PntHandle(const qsOS::Uuid& layerStackPart, const qsOS::Uuid& ownPart)
        : layerStack(layerStackPart), own(ownPart)
    {}

    constexpr bool operator==(const PntHandle&) const noexcept = default;
    constexpr auto operator<=>(const PntHandle&) const noexcept = default;

    qsOS::Uuid layerStack;  // the document that the object belongs to
    qsOS::Uuid own;  // the object itself
};

static_assert(sizeof(PntHandle) == 32);

/// The words of a part that no generated handle has.
inline constexpr uint32_t kReservedUuidWords[4] = {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF};
inline constexpr qsOS::Uuid kReservedUuid{kReservedUuidWords};

/// What every search that finds nothing returns; names no object.
inline constexpr PntHandle kNullHandle{kReservedUuid, kReservedUuid};

/// As an argument: the current layer of the current document. Names no object of its own and differs from the null
/// handle.
inline constexpr PntHandle kCurrentLayerHandle{qsOS::Uuid(), kReservedUuid};
