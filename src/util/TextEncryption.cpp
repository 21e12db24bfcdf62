#include "util/TextEncryption.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/Error.h"
#include "util/Cryptography.h"
#include "util/SystemErrorText.h"

namespace QuillonLib {

namespace {

// Windows-1252 from 0x80 to 0x9F; the five codes that it leaves open stand for themselves.
constexpr std::array<char16_t, 32> Windows1252Above7F{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::uint8_t ToWindows1252(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<std::uint8_t>(unit);
    const auto found = std::find(Windows1252Above7F.begin(), Windows1252Above7F.end(), unit);
    if (found == Windows1252Above7F.end()) return '?';
    return static_cast<std::uint8_t>(0x80 + (found - Windows1252Above7F.begin()));
}

// One byte for each unit, so that as many are hashed as the pass phrase has characters.
std::vector<std::uint8_t> ToWindows1252(std::u16string_view text) {
    std::vector<std::uint8_t> bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char16_t unit) { return ToWindows1252(unit); });
    return bytes;
}

[[noreturn]] void ThrowEncryptionError(std::u16string description) {
    throw Error(ErrorNumber::Encryption, std::move(description));
}

// The three handles of one operation. What is released before an error is raised is part of what
// callers have always seen, so nothing here releases by itself.
class CipherKey {
  public:
    CipherKey(Cryptography& cryptography, std::u16string_view sPassword) : api_(cryptography) {
        context_ = api_.AcquireContext(Cryptography::ProviderRsaFull, Cryptography::VerifyContext);
        if (context_ == 0) ThrowEncryptionError(u"Couldn't acquire cryptographic context");
        hash_ = api_.CreateHash(context_, Cryptography::Md5);
        if (hash_ == 0) {
            api_.ReleaseContext(context_);
            ThrowEncryptionError(u"Couldn't create cryptographic hash");
        }
        if (!api_.HashData(hash_, ToWindows1252(sPassword))) {
            api_.DestroyHash(hash_);
            api_.ReleaseContext(context_);
            ThrowEncryptionError(u"Couldn't hash data");
        }
        key_ =
            api_.DeriveKey(context_, Cryptography::Rc4, hash_, Cryptography::ExportableWithoutSalt);
        if (key_ == 0) ThrowEncryptionError(u"Couldn't generate key");
    }

    Cryptography::Handle Handle() const { return key_; }

    void Release() {
        api_.DestroyHash(hash_);
        api_.DestroyKey(key_);
        api_.ReleaseContext(context_);
    }

  private:
    Cryptography& api_;
    Cryptography::Handle context_ = 0;
    Cryptography::Handle hash_ = 0;
    Cryptography::Handle key_ = 0;
};

std::u16string LastErrorText(const Cryptography& cryptography, SystemMessages& messages) {
    return GetSystemErrorText(messages, cryptography.LastError(), u"advapi32.dll");
}

void RequireFirstElement(const EncryptedText& bytes) {
    if (bytes.Items.empty() || bytes.LowerBound != 0) {
        throw Error(ErrorNumber::SubscriptOutOfRange, u"Subscript out of range");
    }
}

}  // namespace

EncryptedText BytesOfText(std::u16string_view text) {
    EncryptedText bytes;
    bytes.Items.reserve(text.size() * 2);
    for (const char16_t unit : text) {
        bytes.Items.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.Items.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

EncryptedText EncryptText(std::u16string_view sText, std::u16string_view sPassword,
                          Cryptography& cryptography, SystemMessages& messages) {
    CipherKey key(cryptography, sPassword);
    EncryptedText bytes = BytesOfText(sText);
    std::size_t length = bytes.Items.size();
    std::size_t needed = length;
    cryptography.Encrypt(key.Handle(), nullptr, needed, 0);
    bytes.Items.resize(needed);
    RequireFirstElement(bytes);
    if (!cryptography.Encrypt(key.Handle(), bytes.Items.data(), length, bytes.Items.size())) {
        ThrowEncryptionError(u"Couldn't encrypt data (" + LastErrorText(cryptography, messages) +
                             u")");
    }
    key.Release();
    return bytes;
}

std::u16string DecryptText(EncryptedText vBytes, std::u16string_view sPassword,
                           Cryptography& cryptography, SystemMessages& messages) {
    CipherKey key(cryptography, sPassword);
    RequireFirstElement(vBytes);
    std::size_t length = vBytes.Items.size();
    if (!cryptography.Decrypt(key.Handle(), vBytes.Items.data(), length)) {
        ThrowEncryptionError(u"Couldn't decrypt data (" + LastErrorText(cryptography, messages) +
                             u")");
    }
    key.Release();

    std::u16string text(vBytes.Items.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char16_t>(vBytes.Items[2 * i] | (vBytes.Items[2 * i + 1] << 8));
    }
    return text;
}

}  // namespace QuillonLib
