// Packets of the wire: messages of any length cut into pieces of at most the negotiated size,
// each behind a header of eight bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Bytes.h"
#include "Socket.h"

namespace sandbox::wire {

inline constexpr std::size_t kHeaderSize = 8;
inline constexpr std::size_t kDefaultPacketSize = 4096;
inline constexpr std::size_t kSmallestPacket = 512;
inline constexpr std::size_t kLargestPacket = 32767;

enum class PacketType : std::uint8_t {
    SqlBatch = 0x01,
    Rpc = 0x03,
    Response = 0x04,
    Attention = 0x06,
    BulkLoad = 0x07,
    TransactionManager = 0x0E,
    Login = 0x10,
    Sspi = 0x11,
    Prelogin = 0x12,
};

namespace packet_status {
inline constexpr std::uint8_t EndOfMessage = 0x01;
inline constexpr std::uint8_t Ignore = 0x02;
inline constexpr std::uint8_t ResetConnection = 0x08;
}  // namespace packet_status

struct Request {
    PacketType type{};
    bool ignore = false;           // the client gave the message up before it was complete
    bool resetConnection = false;  // return the session to its state after login first
    std::vector<std::uint8_t> payload;
};

class RequestReader {
  public:
    explicit RequestReader(const Socket& socket) : socket_(socket) {}

    // The next whole message, or nothing when the client has gone. Throws ProtocolError.
    std::optional<Request> Next();

    // The longest message accepted from now on.
    void SetLimit(std::size_t bytes) { limit_ = bytes; }

  private:
    const Socket& socket_;
    std::size_t limit_ = std::size_t{128} * 1024;
};

// The answer to one request on its way to the client. Tokens are written one after another into
// one flat buffer, so that no writer needs to know where packets end; the headers are added when
// a good number of packets has come together and goes out in one call.
//
// A client that has gone makes the stream Broken(): writing goes on and leads nowhere.
class ResponseStream {
  public:
    ResponseStream(const Socket& socket, std::uint16_t spid);

    // Room for `size` bytes at the end of what has been written. Valid until the next call of
    // anything here but Commit().
    std::uint8_t* Reserve(std::size_t size) {
        if (buffer_.size() - used_ < size) Grow(size);
        return buffer_.data() + used_;
    }
    // Takes over what was stored at Reserve()'s address up to `end`.
    void Commit(const std::uint8_t* end) {
        used_ = static_cast<std::size_t>(end - buffer_.data());
        if (used_ >= kSendAt) SendFullPackets();
    }

    template <typename T>
    void Put(T value) {
        Commit(wire::Put(Reserve(sizeof value), value));
    }
    void PutBytes(const void* data, std::size_t size);
    void PutText(std::u16string_view text) { PutBytes(text.data(), text.size() * 2); }

    // Sends the rest and ends the message.
    void EndMessage();
    // Sends all that has been written, without ending the message.
    void Flush();

    void SetPacketSize(std::size_t size) { packetSize_ = size; }
    bool Broken() const { return broken_; }

  private:
    static constexpr std::size_t kSendAt = std::size_t{128} * 1024;

    void Grow(std::size_t size);
    void SendFullPackets();
    void Send(std::size_t size, bool endOfMessage);

    const Socket& socket_;
    std::uint16_t spid_;
    std::size_t packetSize_ = kDefaultPacketSize;
    std::uint8_t packetNumber_ = 1;
    bool broken_ = false;
    std::vector<std::uint8_t> buffer_;
    std::size_t used_ = 0;
    std::vector<std::array<std::uint8_t, kHeaderSize>> headers_;
    std::vector<iovec> pieces_;
};

}  // namespace sandbox::wire
