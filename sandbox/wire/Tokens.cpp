#include "Tokens.h"

#include <algorithm>
#include <cstdlib>

namespace sandbox::wire {

namespace {

// The longest texts that fit the length fields in front of them.
constexpr std::size_t kLongestShortText = 255;
constexpr std::size_t kLongestMessage = 8000;

struct ProductVersion {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint16_t build = 0;
};

ProductVersion Parse(const std::string& text) {
    ProductVersion version;
    const char* at = text.c_str();
    const auto next = [&at] {
        char* end = nullptr;
        const unsigned long number = std::strtoul(at, &end, 10);
        at = *end == '.' ? end + 1 : end;
        return number;
    };
    version.major = static_cast<std::uint8_t>(next());
    version.minor = static_cast<std::uint8_t>(next());
    version.build = static_cast<std::uint16_t>(next());
    return version;
}

}  // namespace

void TokenWriter::PutShortText(std::u16string_view text) {
    const std::u16string_view kept = text.substr(0, kLongestShortText);
    out_.Put(static_cast<std::uint8_t>(kept.size()));
    out_.PutText(kept);
}

void TokenWriter::Say(const Message& message) {
    const auto text = std::u16string_view(message.text).substr(0, kLongestMessage);
    const auto server = std::u16string_view(serverName_).substr(0, kLongestShortText);
    const auto procedure = std::u16string_view(message.procedure).substr(0, kLongestShortText);
    const std::size_t lineSize = HasWideCounts(version_) ? 4 : 2;
    const std::size_t length =
        6 + 2 + text.size() * 2 + 1 + server.size() * 2 + 1 + procedure.size() * 2 + lineSize;

    PutToken(message.severity > 10 ? Token::Error : Token::Info);
    out_.Put(static_cast<std::uint16_t>(length));
    out_.Put(message.number);
    out_.Put(message.state);
    out_.Put(message.severity);
    out_.Put(static_cast<std::uint16_t>(text.size()));
    out_.PutText(text);
    PutShortText(server);
    PutShortText(procedure);
    if (HasWideCounts(version_)) {
        out_.Put(message.line);
    } else {
        out_.Put(static_cast<std::uint16_t>(std::clamp(message.line, 0, 0xFFFF)));
    }
}

void TokenWriter::EnvironmentText(Environment what, std::u16string_view now,
                                  std::u16string_view before) {
    now = now.substr(0, kLongestShortText);
    before = before.substr(0, kLongestShortText);
    PutToken(Token::EnvironmentChange);
    out_.Put(static_cast<std::uint16_t>(3 + (now.size() + before.size()) * 2));
    out_.Put(static_cast<std::uint8_t>(what));
    PutShortText(now);
    PutShortText(before);
}

void TokenWriter::EnvironmentBytes(Environment what, Bytes now, Bytes before) {
    PutToken(Token::EnvironmentChange);
    out_.Put(static_cast<std::uint16_t>(3 + now.size() + before.size()));
    out_.Put(static_cast<std::uint8_t>(what));
    out_.Put(static_cast<std::uint8_t>(now.size()));
    out_.PutBytes(now.data(), now.size());
    out_.Put(static_cast<std::uint8_t>(before.size()));
    out_.PutBytes(before.data(), before.size());
}

void TokenWriter::LoginAcknowledged(const std::string& productVersion) {
    constexpr std::u16string_view kProduct = u"Microsoft SQL Server";
    constexpr std::uint8_t kTransactSql = 1;
    const std::uint32_t version = Acknowledged(version_);
    const ProductVersion product = Parse(productVersion);

    PutToken(Token::LoginAcknowledged);
    out_.Put(static_cast<std::uint16_t>(1 + 4 + 1 + kProduct.size() * 2 + 4));
    out_.Put(kTransactSql);
    for (const int shift : {24, 16, 8, 0})
        out_.Put(static_cast<std::uint8_t>(version >> shift));
    PutShortText(kProduct);
    out_.Put(product.major);
    out_.Put(product.minor);
    out_.Put(static_cast<std::uint8_t>(product.build >> 8));
    out_.Put(static_cast<std::uint8_t>(product.build));
}

void TokenWriter::Sspi(Bytes blob) {
    PutToken(Token::Sspi);
    out_.Put(static_cast<std::uint16_t>(blob.size()));
    out_.PutBytes(blob.data(), blob.size());
}

void TokenWriter::Done(Token kind, std::uint16_t status, std::uint16_t command,
                       std::int64_t count) {
    constexpr std::size_t kLongest = 1 + 2 + 2 + 8;
    std::uint8_t* p = out_.Reserve(kLongest);
    p = Put(p, static_cast<std::uint8_t>(kind));
    p = Put(p, status);
    p = Put(p, command);
    if (HasWideCounts(version_)) {
        p = Put(p, count);
    } else {
        p = Put(p, static_cast<std::int32_t>(count));
    }
    out_.Commit(p);
}

void TokenWriter::ReturnStatus(std::int32_t status) {
    PutToken(Token::ReturnStatus);
    out_.Put(status);
}

void TokenWriter::ReturnValue(std::u16string_view name, std::uint16_t ordinal, std::int32_t value) {
    constexpr std::uint8_t kOutputParameter = 1;
    constexpr std::uint8_t kIntN = 0x26;
    PutToken(Token::ReturnValue);
    out_.Put(ordinal);
    PutShortText(name);
    out_.Put(kOutputParameter);
    if (HasWideCounts(version_)) {
        out_.Put(std::uint32_t{0});  // user type
    } else {
        out_.Put(std::uint16_t{0});
    }
    out_.Put(std::uint16_t{1});  // nullable
    out_.Put(kIntN);
    out_.Put(std::uint8_t{4});
    out_.Put(std::uint8_t{4});
    out_.Put(value);
}

}  // namespace sandbox::wire
