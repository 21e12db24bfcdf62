#include "Login.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace sandbox::wire {

namespace {

// The part of `all` that an (offset, size) pair of the client names.
Bytes Slice(Bytes all, std::size_t offset, std::size_t size) {
    if (size == 0) return {};
    if (offset > all.size() || size > all.size() - offset) {
        throw ProtocolError("a login field lies outside of its packet");
    }
    return all.subspan(offset, size);
}

std::u16string Unscramble(Bytes scrambled) {
    std::vector<std::uint8_t> plain(scrambled.begin(), scrambled.end());
    for (std::uint8_t& byte : plain) {
        byte ^= 0xA5;
        byte = static_cast<std::uint8_t>(byte << 4 | byte >> 4);
    }
    return ByteReader::ToText(plain);
}

constexpr std::array<std::uint8_t, 8> kNtlmSignature = {'N', 'T', 'L', 'M', 'S', 'S', 'P', 0};

bool IsNtlm(Bytes token, std::uint8_t type) {
    return token.size() >= 12 && std::ranges::equal(token.first(8), kNtlmSignature) &&
           token[8] == type;
}

}  // namespace

LoginPacket ParseLogin(Bytes payload) {
    ByteReader head(payload);
    const std::uint32_t length = head.Get32();
    if (length > payload.size()) throw ProtocolError("a login shorter than it says");
    const Bytes all = payload.first(length);

    LoginPacket login;
    login.request.protocolVersion = head.Get32();
    login.request.packetSize = head.Get32();
    head.Take(12);  // program version, process id, connection id
    head.Get8();    // option flags 1
    constexpr std::uint8_t kIntegratedSecurity = 0x80;
    const std::uint8_t flags2 = head.Get8();
    head.Take(10);  // type flags, option flags 3, time zone, locale

    const auto field = [&head, all](std::size_t unit) {
        const std::size_t offset = head.Get16();
        const std::size_t size = head.Get16() * unit;
        return Slice(all, offset, size);
    };
    const auto text = [&field] { return ByteReader::ToText(field(2)); };

    LoginRequest& request = login.request;
    request.host = text();
    request.user = text();
    request.password = Unscramble(field(2));
    request.application = text();
    text();    // server name
    field(1);  // extension
    text();    // client library
    text();    // language
    request.database = text();
    head.Take(6);  // client id
    const Bytes sspi = field(1);
    login.sspi.assign(sspi.begin(), sspi.end());
    request.integrated = (flags2 & kIntegratedSecurity) != 0 || request.user.empty();
    return login;
}

std::vector<std::uint8_t> AnswerPrelogin(Bytes payload, const std::string& productVersion) {
    constexpr std::uint8_t kEnd = 0xFF;
    ByteReader options(payload);
    while (options.Get8() != kEnd) {
        const auto big16 = [&options] {
            const std::uint8_t high = options.Get8();
            return static_cast<std::size_t>(high) << 8 | options.Get8();
        };
        const std::size_t offset = big16();
        const std::size_t size = big16();
        Slice(payload, offset, size);
    }

    char* end = nullptr;
    const unsigned long major = std::strtoul(productVersion.c_str(), &end, 10);
    const unsigned long minor = *end == '.' ? std::strtoul(end + 1, &end, 10) : 0;
    const unsigned long build = *end == '.' ? std::strtoul(end + 1, &end, 10) : 0;

    constexpr std::uint8_t kVersion = 0;
    constexpr std::uint8_t kEncryption = 1;
    constexpr std::uint8_t kInstance = 2;
    constexpr std::uint8_t kThread = 3;
    constexpr std::uint8_t kManyResultSets = 4;
    constexpr std::uint8_t kEncryptionNotSupported = 2;
    constexpr std::uint8_t kOptionsSize = 5 * 5 + 1;
    return {
        // option, offset, size
        kVersion,
        0,
        kOptionsSize,
        0,
        6,
        kEncryption,
        0,
        kOptionsSize + 6,
        0,
        1,
        kInstance,
        0,
        kOptionsSize + 7,
        0,
        1,
        kThread,
        0,
        kOptionsSize + 8,
        0,
        0,
        kManyResultSets,
        0,
        kOptionsSize + 8,
        0,
        1,
        kEnd,
        // the options' data
        static_cast<std::uint8_t>(major),
        static_cast<std::uint8_t>(minor),
        static_cast<std::uint8_t>(build >> 8),
        static_cast<std::uint8_t>(build),
        0,
        0,
        kEncryptionNotSupported,
        0,
        0,
    };
}

bool IsNtlmNegotiate(Bytes token) {
    return IsNtlm(token, 1);
}

std::vector<std::uint8_t> NtlmChallenge(std::u16string_view serverName) {
    constexpr std::uint32_t kChallenge = 2;
    // Unicode, NTLM, target type server, target information, request target.
    constexpr std::uint32_t kFlags = 0x00000001 | 0x00000200 | 0x00020000 | 0x00800000 | 0x4;
    constexpr std::array<std::uint8_t, 8> kNonce = {1, 2, 3, 4, 5, 6, 7, 8};
    constexpr std::uint16_t kEndOfList = 0;
    constexpr std::uint16_t kComputerName = 1;
    constexpr std::uint16_t kDomainName = 2;
    constexpr std::uint32_t kHeader = 48;

    const auto nameSize =
        static_cast<std::uint16_t>(std::min<std::size_t>(serverName.size(), 64) * 2);
    const auto infoSize = static_cast<std::uint16_t>(2 * (4 + nameSize) + 4);
    std::vector<std::uint8_t> token(kHeader + nameSize + infoSize);
    std::uint8_t* p = PutBytes(token.data(), kNtlmSignature.data(), kNtlmSignature.size());
    p = Put(p, kChallenge);
    p = Put(p, nameSize);
    p = Put(p, nameSize);
    p = Put(p, kHeader);
    p = Put(p, kFlags);
    p = PutBytes(p, kNonce.data(), kNonce.size());
    p = Put(p, std::uint64_t{0});
    p = Put(p, infoSize);
    p = Put(p, infoSize);
    p = Put(p, kHeader + nameSize);
    p = PutBytes(p, serverName.data(), nameSize);
    for (const std::uint16_t kind : {kDomainName, kComputerName}) {
        p = Put(p, kind);
        p = Put(p, nameSize);
        p = PutBytes(p, serverName.data(), nameSize);
    }
    p = Put(p, kEndOfList);
    Put(p, std::uint16_t{0});
    return token;
}

std::u16string NtlmUser(Bytes authenticate) {
    if (!IsNtlm(authenticate, 3)) return {};
    ByteReader reader(authenticate);
    reader.Take(12 + 8 + 8);  // signature, type, two responses
    const auto text = [&] {
        const std::size_t size = reader.Get16();
        reader.Get16();
        const std::size_t offset = reader.Get32();
        return ByteReader::ToText(Slice(authenticate, offset, size));
    };
    const std::u16string domain = text();
    const std::u16string user = text();
    return domain.empty() ? user : domain + u'\\' + user;
}

}  // namespace sandbox::wire
