#include "Packets.h"

#include <algorithm>

namespace sandbox::wire {

namespace {

bool IsRequest(PacketType type) {
    switch (type) {
        case PacketType::SqlBatch:
        case PacketType::Rpc:
        case PacketType::Attention:
        case PacketType::BulkLoad:
        case PacketType::TransactionManager:
        case PacketType::Login:
        case PacketType::Sspi:
        case PacketType::Prelogin:
            return true;
        case PacketType::Response:
            break;
    }
    return false;
}

}  // namespace

std::optional<Request> RequestReader::Next() {
    Request request;
    bool first = true;
    for (;;) {
        std::array<std::uint8_t, kHeaderSize> header{};
        if (!socket_.Read(header)) return std::nullopt;
        const auto type = static_cast<PacketType>(header[0]);
        const std::uint8_t status = header[1];
        const std::size_t length = static_cast<std::size_t>(header[2]) << 8 | header[3];
        // Who speaks another protocol must not keep the server waiting for the rest of a packet.
        if (!IsRequest(type)) throw ProtocolError("a packet of unknown type");
        if (length < kHeaderSize || length > kLargestPacket) {
            throw ProtocolError("a packet of impossible length");
        }
        if (first) {
            request.type = type;
            request.resetConnection = (status & packet_status::ResetConnection) != 0;
            first = false;
        } else if (type != request.type) {
            throw ProtocolError("a message changed its type midway");
        }
        const std::size_t before = request.payload.size();
        const std::size_t size = length - kHeaderSize;
        if (size > limit_ - before) throw ProtocolError("a message of excessive length");
        request.payload.resize(before + size);
        if (!socket_.Read(std::span(request.payload).subspan(before))) return std::nullopt;
        if ((status & packet_status::EndOfMessage) != 0) {
            request.ignore = (status & packet_status::Ignore) != 0;
            return request;
        }
    }
}

ResponseStream::ResponseStream(const Socket& socket, std::uint16_t spid)
    : socket_(socket), spid_(spid), buffer_(std::size_t{8} * 1024) {
}

void ResponseStream::PutBytes(const void* data, std::size_t size) {
    // A long value passes through in pieces and never lies in the buffer as a whole.
    const auto* from = static_cast<const std::uint8_t*>(data);
    while (size > kSendAt) {
        Commit(wire::PutBytes(Reserve(kSendAt), from, kSendAt));
        from += kSendAt;
        size -= kSendAt;
    }
    Commit(wire::PutBytes(Reserve(size), from, size));
}

void ResponseStream::Grow(std::size_t size) {
    buffer_.resize(std::max(used_ + size, std::min(buffer_.size() * 2, 2 * kSendAt)));
}

void ResponseStream::SendFullPackets() {
    const std::size_t perPacket = packetSize_ - kHeaderSize;
    // One packet always stays behind: the last one of a message must say that it is.
    const std::size_t size = (used_ - 1) / perPacket * perPacket;
    Send(size, false);
    used_ -= size;
    std::memmove(buffer_.data(), buffer_.data() + size, used_);
}

void ResponseStream::Flush() {
    if (used_ == 0) return;
    Send(used_, false);
    used_ = 0;
}

void ResponseStream::EndMessage() {
    Send(used_, true);
    used_ = 0;
    packetNumber_ = 1;
}

void ResponseStream::Send(std::size_t size, bool endOfMessage) {
    if (broken_) return;
    const std::size_t perPacket = packetSize_ - kHeaderSize;
    const std::size_t count = std::max<std::size_t>(1, (size + perPacket - 1) / perPacket);
    headers_.resize(count);
    pieces_.clear();
    for (std::size_t n = 0, at = 0; n < count; ++n) {
        const std::size_t payload = std::min(perPacket, size - at);
        const std::size_t length = payload + kHeaderSize;
        const bool last = endOfMessage && n + 1 == count;
        headers_[n] = {static_cast<std::uint8_t>(PacketType::Response),
                       last ? packet_status::EndOfMessage : std::uint8_t{0},
                       static_cast<std::uint8_t>(length >> 8),
                       static_cast<std::uint8_t>(length),
                       static_cast<std::uint8_t>(spid_ >> 8),
                       static_cast<std::uint8_t>(spid_),
                       packetNumber_++,
                       0};
        pieces_.push_back({headers_[n].data(), kHeaderSize});
        pieces_.push_back({buffer_.data() + at, payload});
        at += payload;
    }
    broken_ = !socket_.Write(pieces_);
}

}  // namespace sandbox::wire
