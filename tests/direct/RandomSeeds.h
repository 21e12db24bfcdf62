// How long the random tests of the direct road run.
//
// QUILLON_TEST_SEED replays one seed; QUILLON_TEST_SEEDS says how many seeds each of them tries,
// from 1 on: thousands are a matter of hours.
#pragma once

#include <cstdlib>
#include <numeric>
#include <vector>

namespace QuillonLib {

inline std::vector<unsigned> Seeds(unsigned otherwise) {
    const auto number = [](const char* name, unsigned unset) {
        const char* const text = std::getenv(name);
        return text == nullptr ? unset : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    };
    if (std::getenv("QUILLON_TEST_SEED") != nullptr) return {number("QUILLON_TEST_SEED", 1)};
    std::vector<unsigned> seeds(number("QUILLON_TEST_SEEDS", otherwise));
    std::iota(seeds.begin(), seeds.end(), 1U);
    return seeds;
}

}  // namespace QuillonLib
