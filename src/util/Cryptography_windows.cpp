#include <windows.h>
// after windows.h
#include <wincrypt.h>

#include "util/Cryptography.h"

namespace QuillonLib {

namespace {

class WindowsCryptography final : public Cryptography {
  public:
    Handle AcquireContext(std::uint32_t providerType, std::uint32_t flags) override {
        HCRYPTPROV context = 0;
        return Noting(CryptAcquireContextW(&context, nullptr, nullptr, providerType, flags))
                   ? context
                   : 0;
    }
    Handle CreateHash(Handle context, std::uint32_t algorithm) override {
        HCRYPTHASH hash = 0;
        return Noting(CryptCreateHash(context, algorithm, 0, 0, &hash)) ? hash : 0;
    }
    bool HashData(Handle hash, std::span<const std::uint8_t> data) override {
        constexpr BYTE Nothing = 0;  // an empty text has a place too
        const BYTE* const bytes = data.empty() ? &Nothing : data.data();
        return Noting(CryptHashData(hash, bytes, static_cast<DWORD>(data.size()), 0));
    }
    Handle DeriveKey(Handle context, std::uint32_t algorithm, Handle hash,
                     std::uint32_t flags) override {
        HCRYPTKEY key = 0;
        return Noting(CryptDeriveKey(context, algorithm, hash, flags, &key)) ? key : 0;
    }
    bool Encrypt(Handle key, std::uint8_t* buffer, std::size_t& length,
                 std::size_t bufferLength) override {
        auto size = static_cast<DWORD>(length);
        // Asked for the size, some systems tell the room that they were told.
        const DWORD room = buffer == nullptr ? size : static_cast<DWORD>(bufferLength);
        const bool done = Noting(CryptEncrypt(key, 0, TRUE, 0, buffer, &size, room));
        length = size;
        return done;
    }
    bool Decrypt(Handle key, std::uint8_t* buffer, std::size_t& length) override {
        auto size = static_cast<DWORD>(length);
        const bool done = Noting(CryptDecrypt(key, 0, TRUE, 0, buffer, &size));
        length = size;
        return done;
    }
    void DestroyHash(Handle hash) override { CryptDestroyHash(hash); }
    void DestroyKey(Handle key) override { CryptDestroyKey(key); }
    void ReleaseContext(Handle context) override { CryptReleaseContext(context, 0); }
    std::int32_t LastError() const override { return lastError_; }

  private:
    bool Noting(BOOL done) {
        lastError_ = static_cast<std::int32_t>(GetLastError());
        return done != FALSE;
    }
    std::int32_t lastError_ = 0;
};

}  // namespace

std::unique_ptr<Cryptography> PlatformCryptography() {
    return std::make_unique<WindowsCryptography>();
}

}  // namespace QuillonLib
