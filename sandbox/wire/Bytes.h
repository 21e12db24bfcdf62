// Little-endian bytes of the wire: a reader that cannot leave its buffer, and stores for the
// writers. Everything that a client sends is read through ByteReader.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>

namespace sandbox::wire {

static_assert(std::endian::native == std::endian::little, "the wire format is stored as it lies");

using Bytes = std::span<const std::uint8_t>;

// The client broke the protocol. The connection is closed, nothing is answered.
struct ProtocolError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ByteReader {
  public:
    explicit ByteReader(Bytes bytes) : rest_(bytes) {}

    bool AtEnd() const { return rest_.empty(); }
    std::size_t Left() const { return rest_.size(); }

    // Throws ProtocolError when fewer than `size` bytes are left.
    Bytes Take(std::size_t size) {
        if (size > rest_.size()) throw ProtocolError("a field runs past the end of its message");
        const Bytes taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }

    template <typename T>
    T Get() {
        T value;
        std::memcpy(&value, Take(sizeof value).data(), sizeof value);
        return value;
    }

    std::uint8_t Get8() { return Get<std::uint8_t>(); }
    std::uint16_t Get16() { return Get<std::uint16_t>(); }
    std::uint32_t Get32() { return Get<std::uint32_t>(); }
    std::uint64_t Get64() { return Get<std::uint64_t>(); }

    std::u16string Text(std::size_t units) { return ToText(Take(units * 2)); }

    static std::u16string ToText(Bytes bytes) {
        std::u16string text(bytes.size() / 2, u'\0');
        if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * 2);
        return text;
    }

  private:
    Bytes rest_;
};

// Stores `value` at `p` and returns the end of what was stored.
template <typename T>
std::uint8_t* Put(std::uint8_t* p, T value) {
    std::memcpy(p, &value, sizeof value);
    return p + sizeof value;
}

inline std::uint8_t* PutBytes(std::uint8_t* p, const void* data, std::size_t size) {
    if (size != 0) std::memcpy(p, data, size);
    return p + size;
}

}  // namespace sandbox::wire
