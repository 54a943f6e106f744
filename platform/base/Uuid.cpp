#include "platform/base/Uuid.h"

#include <chrono>
#include <exception>
#include <random>

namespace qsOS {

namespace {

/// Seeded from the system once, as asking it for every identity would cost a system call each.
std::mt19937_64 MakeGenerator()
{
    std::array<uint32_t, 18> seed = {};
    // The last words alone keep processes apart on a machine that has no source of randomness.
    const auto now = static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    seed[16] = static_cast<uint32_t>(now);
    seed[17] = static_cast<uint32_t>(now >> 32);
    try {
        std::random_device device;
        for (unsigned i = 0; i < 16; ++i)
            seed[i] = device();
    } catch (const std::exception&) {
        const auto ticks = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
        seed[0] = static_cast<uint32_t>(ticks);
    }
    std::seed_seq sequence(seed.begin(), seed.end());
    return std::mt19937_64(sequence);
}

}  // namespace

Uuid Uuid::generate()
{
    static std::mt19937_64 generator = MakeGenerator();
    const uint64_t low = generator();
    const uint64_t high = generator();
    Uuid uuid;
    for (unsigned i = 0; i < 8; ++i) {
        uuid.bytes_[i] = static_cast<uint8_t>(low >> (8 * i));
        uuid.bytes_[8 + i] = static_cast<uint8_t>(high >> (8 * i));
    }
    uuid.bytes_[6] = static_cast<uint8_t>(0x40 | (uuid.bytes_[6] & 0x0F));  // version 4: random
    uuid.bytes_[8] = static_cast<uint8_t>(0x80 | (uuid.bytes_[8] & 0x3F));  // the variant of RFC 4122
    return uuid;
}

int Uuid::compare(const Uuid& other) const noexcept
{
    const auto order = *this <=> other;
    return static_cast<int>(std::is_gt(order)) - static_cast<int>(std::is_lt(order));
}

qsString::CString Uuid::asString() const
{
    static constexpr char kDigits[] = "0123456789abcdef";
    char text[37];
    char* out = text;
    for (unsigned i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            *out++ = '-';
        *out++ = kDigits[bytes_[i] >> 4];
        *out++ = kDigits[bytes_[i] & 0x0F];
    }
    *out = '\0';
    return text;
}

}  // namespace qsOS
