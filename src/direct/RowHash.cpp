#include "direct/RowHash.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace QuillonLib {

namespace {

constexpr std::size_t BlockSize = 64;
constexpr std::size_t LengthSize = 8;

// The fractions of the cube roots of the first 64 primes.
constexpr std::array<std::uint32_t, 64> Constants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

class Sha256 {
  public:
    void Add(const std::uint8_t* block) {
        std::array<std::uint32_t, 64> w{};
        for (std::size_t i = 0; i < 16; ++i) {
            const std::uint8_t* const at = block + 4 * i;
            w[i] = std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 |
                   std::uint32_t{at[2]} << 8 | at[3];
        }
        for (std::size_t i = 16; i < w.size(); ++i) {
            const std::uint32_t a = w[i - 15], b = w[i - 2];
            w[i] = w[i - 16] + w[i - 7] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3)) +
                   (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10));
        }
        std::array<std::uint32_t, 8> s = state_;
        for (std::size_t i = 0; i < w.size(); ++i) {
            const std::uint32_t e = std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25);
            const std::uint32_t choice = (s[4] & s[5]) ^ (~s[4] & s[6]);
            const std::uint32_t t = s[7] + e + choice + Constants[i] + w[i];
            const std::uint32_t a = std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22);
            const std::uint32_t majority = (s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]);
            std::rotate(s.begin(), s.end() - 1, s.end());
            s[4] += t;
            s[0] = t + a + majority;
        }
        for (std::size_t i = 0; i < s.size(); ++i)
            state_[i] += s[i];
    }

    RowHash FirstHalf() const {
        RowHash hash{};
        for (std::size_t i = 0; i < hash.size(); ++i)
            hash[i] = static_cast<std::uint8_t>(state_[i / 4] >> (24 - 8 * (i % 4)));
        return hash;
    }

  private:
    std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                           0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
};

}  // namespace

RowHash HashRow(std::string_view bytes) {
    Sha256 hash;
    const auto* const data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::size_t whole = bytes.size() / BlockSize * BlockSize;
    for (std::size_t at = 0; at < whole; at += BlockSize)
        hash.Add(data + at);
    // the rest, a one bit, zeros, and the length in bits
    std::array<std::uint8_t, 2 * BlockSize> last{};
    const std::size_t rest = bytes.size() - whole;
    if (rest > 0) std::memcpy(last.data(), data + whole, rest);
    last[rest] = 0x80;
    const std::size_t size = rest + 1 + LengthSize <= BlockSize ? BlockSize : 2 * BlockSize;
    const std::uint64_t bits = std::uint64_t{bytes.size()} * 8;
    for (std::size_t i = 0; i < LengthSize; ++i)
        last[size - 1 - i] = static_cast<std::uint8_t>(bits >> (8 * i));
    for (std::size_t at = 0; at < size; at += BlockSize)
        hash.Add(last.data() + at);
    return hash.FirstHalf();
}

}  // namespace QuillonLib
