// The tokens of a response other than rows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "../Backend.h"
#include "Bytes.h"
#include "Packets.h"
#include "Version.h"

namespace sandbox::wire {

enum class Token : std::uint8_t {
    ReturnStatus = 0x79,
    ColumnMetadata = 0x81,
    Error = 0xAA,
    Info = 0xAB,
    ReturnValue = 0xAC,
    LoginAcknowledged = 0xAD,
    Row = 0xD1,
    EnvironmentChange = 0xE3,
    Sspi = 0xED,
    Done = 0xFD,
    DoneProcedure = 0xFE,
    DoneInProcedure = 0xFF,
};

namespace done_status {
inline constexpr std::uint16_t More = 0x01;
inline constexpr std::uint16_t Error = 0x02;
inline constexpr std::uint16_t Count = 0x10;
inline constexpr std::uint16_t Attention = 0x20;
}  // namespace done_status

enum class Environment : std::uint8_t {
    Database = 1,
    Language = 2,
    PacketSize = 4,
    Collation = 7,
    BeginTransaction = 8,
    CommitTransaction = 9,
    RollbackTransaction = 10,
    ResetConnection = 18,
};

class TokenWriter {
  public:
    TokenWriter(ResponseStream& out, std::u16string serverName)
        : out_(out), serverName_(std::move(serverName)) {}

    void SetVersion(TdsVersion version) { version_ = version; }
    TdsVersion Version() const { return version_; }
    ResponseStream& Out() { return out_; }

    // ERROR, or INFO up to severity 10.
    void Say(const Message& message);

    void EnvironmentText(Environment what, std::u16string_view now, std::u16string_view before);
    void EnvironmentBytes(Environment what, Bytes now, Bytes before);
    void LoginAcknowledged(const std::string& productVersion);
    void Sspi(Bytes blob);

    void Done(Token kind, std::uint16_t status, std::uint16_t command, std::int64_t count);
    void ReturnStatus(std::int32_t status);
    // An int by the name of an output parameter.
    void ReturnValue(std::u16string_view name, std::uint16_t ordinal, std::int32_t value);

  private:
    void PutToken(Token token) { out_.Put(static_cast<std::uint8_t>(token)); }
    void PutShortText(std::u16string_view text);  // a length of one byte, in characters

    ResponseStream& out_;
    std::u16string serverName_;
    TdsVersion version_ = TdsVersion::V71;
};

}  // namespace sandbox::wire
