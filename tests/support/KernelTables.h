#pragma once

#include "platform/imaging/kernels/Kernels.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

/// Every variant that this machine runs, baseline first, and the portable code of other machines.
std::vector<const kernels::KernelTable*> AllKernelTables();

/// Tests of what each variant must do by itself.
class EveryKernelTable : public testing::TestWithParam<const kernels::KernelTable*> {
protected:
    const kernels::KernelTable& k = *GetParam();
};

inline std::string KernelTableName(const testing::TestParamInfo<const kernels::KernelTable*>& info)
{
    return info.param->name;
}

/// Bytes between guards: CheckGuards() tells whether a kernel wrote outside.
class GuardedBytes {
public:
    explicit GuardedBytes(const std::vector<uint8_t>& bytes);

    uint8_t* data() { return all_.data() + kGuard; }
    std::vector<uint8_t> Bytes() const { return {all_.begin() + kGuard, all_.end() - kGuard}; }
    bool GuardsAreWhole() const
    {
        const auto isGuard = [](uint8_t byte) { return byte == kGuardByte; };
        return std::all_of(all_.begin(), all_.begin() + kGuard, isGuard) &&
               std::all_of(all_.end() - kGuard, all_.end(), isGuard);
    }

private:
    static constexpr int kGuard = 80;
    static constexpr uint8_t kGuardByte = 0xA5;
    std::vector<uint8_t> all_;
};

/// 32 random bits a call.
class RandomBits {
public:
    explicit RandomBits(uint32_t seed) : engine_(seed) {}
    uint32_t operator()() { return static_cast<uint32_t>(engine_()); }
    int Below(int bound) { return static_cast<int>((*this)() % static_cast<uint32_t>(bound)); }

private:
    SeededNumbers engine_;
};

inline std::vector<uint8_t> RandomBytes(size_t size, uint32_t seed)
{
    RandomBits random(seed);
    std::vector<uint8_t> bytes(size);
    for (uint8_t& byte : bytes) {
        // The ends of the range are where rules change: make them common.
        const uint32_t r = random();
        byte = static_cast<uint8_t>((r >> 8) % 8 == 0 ? 0 : (r >> 8) % 8 == 1 ? 255 : r);
    }
    return bytes;
}

/// Random RGBA with every component within alpha.
inline std::vector<uint8_t> RandomPixels(size_t count, uint32_t seed)
{
    std::vector<uint8_t> pixels = RandomBytes(4 * count, seed);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = std::min(pixels[i], pixels[i | 3]);
    return pixels;
}

/// Every pair of an alpha and a grey within it: 32896 pixels.
inline std::vector<uint8_t> AllPremultipliedGreys()
{
    std::vector<uint8_t> pixels;
    for (int alpha = 0; alpha <= 255; ++alpha) {
        for (int value = 0; value <= alpha; ++value) {
            pixels.insert(pixels.end(), 3, static_cast<uint8_t>(value));
            pixels.push_back(static_cast<uint8_t>(alpha));
        }
    }
    return pixels;
}

inline bool ColorStaysWithinAlpha(const std::vector<uint8_t>& pixels)
{
    for (size_t i = 0; i < pixels.size(); ++i) {
        if (pixels[i] > pixels[i | 3])
            return false;
    }
    return true;
}
