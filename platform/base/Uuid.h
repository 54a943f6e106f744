#pragma once

#include "platform/base/CString.h"
#include "platform/base/Export.h"

#include <array>
#include <compare>
#include <cstdint>

namespace qsOS {

/// A 128-bit identity: a plain value of 16 bytes. The order is that of the bytes and so that of the texts.
class PAINTLAYER_EXPORT Uuid {
public:
    /// The nil identity, all bytes zero.
    constexpr Uuid() noexcept = default;

    /// Word i fills bytes 4i to 4i + 3, its lowest byte first.
    explicit constexpr Uuid(const uint32_t (&words)[4]) noexcept
    {
        for (unsigned i = 0; i < 16; ++i)
            bytes_[i] = static_cast<uint8_t>(words[i / 4] >> (8 * (i % 4)));
    }

    /// A fresh random identity (version 4), never nil.
    static Uuid generate();

    /// Below, at or above 0 when this one comes before, is equal to or comes after `other`.
    int compare(const Uuid& other) const noexcept;

    /// 36 characters, 8-4-4-4-12 lower-case hexadecimal digits, the bytes in memory order.
    qsString::CString asString() const;

    bool isNil() const noexcept { return *this == Uuid(); }

    constexpr bool operator==(const Uuid&) const noexcept = default;
    constexpr std::strong_ordering operator<=>(const Uuid& other) const noexcept { return bytes_ <=> other.bytes_; }

private:
    std::array<uint8_t, 16> bytes_ = {};
};

static_assert(sizeof(Uuid) == 16);

}  // namespace qsOS
