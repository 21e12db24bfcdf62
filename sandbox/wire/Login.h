// What a client says before its first batch: the pre-login options and the login itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../Backend.h"
#include "Bytes.h"

namespace sandbox::wire {

struct LoginPacket {
    LoginRequest request;
    std::vector<std::uint8_t>
        sspi;  // the client's first token of integrated security, empty without
};

// Throws ProtocolError.
LoginPacket ParseLogin(Bytes payload);

// The answer to a pre-login: no encryption, no multiple result sets. Throws ProtocolError.
std::vector<std::uint8_t> AnswerPrelogin(Bytes payload, const std::string& productVersion);

// NTLM, as far as a server must go that trusts everybody on the loopback: `negotiate` is answered
// with a challenge, and the answer to that says who is there.
bool IsNtlmNegotiate(Bytes token);
std::vector<std::uint8_t> NtlmChallenge(std::u16string_view serverName);
// "DOMAIN\user", or "" when the token does not say. Throws ProtocolError when it is malformed.
std::u16string NtlmUser(Bytes authenticate);

}  // namespace sandbox::wire
