// Random pairs of databases, one after the other, and what came of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <map>
#include <random>
#include <string>

#include "tests/cli/ProgramFixture.h"
#include "tests/cli/RandomWorlds.h"

namespace quillon {

class RandomPairs : public ProgramTest {
  protected:
    // Makes the pair that follows from the seed, and checks what the program does with it.
    virtual void Try(std::uint32_t seed) = 0;

    // As many as the environment says, until one fails. `each`, `brought` and `refused` complete
    // the sentence in which the numbers are told.
    void TryAll(const char* each, const char* brought, const char* refused) {
        const std::uint32_t seed = worlds::FromEnvironment("QUILLON_SEED", std::random_device()());
        const std::uint32_t pairs = worlds::FromEnvironment("QUILLON_FRONT_END_PAIRS", 25);
        for (std::uint32_t i = 0; i < pairs && !HasFailure(); ++i) {
            SCOPED_TRACE("QUILLON_SEED=" + std::to_string(seed + i) + " QUILLON_FRONT_END_PAIRS=1");
            Try(seed + i);
        }
        std::cout << pairs << " pairs from seed " << seed << each << ": " << codes_[0]
                  << " identical, " << codes_[1] << " different, " << codes_[3]
                  << " not compared whole; " << brought_ << brought << ", " << refused_ << refused
                  << "\n";
    }

    std::string left;
    std::string right;
    std::map<int, int> codes_;
    int refused_ = 0;
    int brought_ = 0;
};

}  // namespace quillon
