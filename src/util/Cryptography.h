// The cryptographic calls that the text encryption is made of, as one seam: the system's own on
// Windows, nettle elsewhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace QuillonLib {

// Handles are numbers other than 0. A call returns false (or 0) when it failed, and LastError()
// then tells why. Whatever a caller does not give back is let go with the object.
class Cryptography {
  public:
    using Handle = std::uintptr_t;

    static constexpr std::uint32_t ProviderRsaFull = 1;
    static constexpr std::uint32_t VerifyContext = 0xF0000000;
    static constexpr std::uint32_t Md5 = 0x8003;
    static constexpr std::uint32_t Rc4 = 0x6801;
    static constexpr std::uint32_t ExportableWithoutSalt = 0x11;

    virtual ~Cryptography() = default;

    virtual Handle AcquireContext(std::uint32_t providerType, std::uint32_t flags) = 0;
    virtual Handle CreateHash(Handle context, std::uint32_t algorithm) = 0;
    virtual bool HashData(Handle hash, std::span<const std::uint8_t> data) = 0;
    virtual Handle DeriveKey(Handle context, std::uint32_t algorithm, Handle hash,
                             std::uint32_t flags) = 0;
    // In place. Without a buffer (null) only the size that the result needs is written to `length`.
    virtual bool Encrypt(Handle key, std::uint8_t* buffer, std::size_t& length,
                         std::size_t bufferLength) = 0;
    virtual bool Decrypt(Handle key, std::uint8_t* buffer, std::size_t& length) = 0;
    virtual void DestroyHash(Handle hash) = 0;
    virtual void DestroyKey(Handle key) = 0;
    virtual void ReleaseContext(Handle context) = 0;
    virtual std::int32_t LastError() const = 0;
};

std::unique_ptr<Cryptography> PlatformCryptography();

}  // namespace QuillonLib
