#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

/// What the environment variable PAINTLAYER_SEED adds to the seed of every random test; 0 when it is not set.
inline unsigned SeedFromEnvironment()
{
    const char* const set = std::getenv("PAINTLAYER_SEED");
    return set != nullptr ? static_cast<unsigned>(std::strtoul(set, nullptr, 10)) : 0;
}

/// The random numbers of a test, from its own seed and PAINTLAYER_SEED. A check that fails while they live says what to
/// set to have the same again.
class SeededNumbers : public std::mt19937 {
public:
    explicit SeededNumbers(unsigned own)
        : std::mt19937(SeedFromEnvironment() + own),
          trace_(__FILE__, __LINE__,
                 "PAINTLAYER_SEED=" + std::to_string(SeedFromEnvironment()) + ", own seed " + std::to_string(own))
    {}

private:
    testing::ScopedTrace trace_;
};
