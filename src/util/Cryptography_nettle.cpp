#include <nettle/arcfour.h>
#include <nettle/md5.h>

#include <array>
#include <map>

#include "util/Cryptography.h"

namespace QuillonLib {

namespace {

constexpr auto BadHash = static_cast<std::int32_t>(0x80090002);
constexpr auto BadKey = static_cast<std::int32_t>(0x80090003);
constexpr auto BadAlgorithm = static_cast<std::int32_t>(0x80090008);
constexpr std::int32_t MoreData = 234;

class NettleCryptography final : public Cryptography {
  public:
    Handle AcquireContext(std::uint32_t /*providerType*/, std::uint32_t /*flags*/) override {
        return ++lastHandle_;
    }

    Handle CreateHash(Handle /*context*/, std::uint32_t algorithm) override {
        if (algorithm != Md5) return Fail(BadAlgorithm);
        md5_init(&hashes_[++lastHandle_]);
        return lastHandle_;
    }

    bool HashData(Handle hash, std::span<const std::uint8_t> data) override {
        const auto found = hashes_.find(hash);
        if (found == hashes_.end()) return Fail(BadHash) != 0;
        md5_update(&found->second, data.size(), data.data());
        return true;
    }

    // The key that providers of 128-bit strength derive for RC4 without salt: the digest itself.
    Handle DeriveKey(Handle /*context*/, std::uint32_t algorithm, Handle hash,
                     std::uint32_t /*flags*/) override {
        if (algorithm != Rc4) return Fail(BadAlgorithm);
        const auto found = hashes_.find(hash);
        if (found == hashes_.end()) return Fail(BadHash);
        std::array<std::uint8_t, MD5_DIGEST_SIZE> digest{};
        md5_digest(&found->second, digest.size(), digest.data());
        arcfour_set_key(&keys_[++lastHandle_], digest.size(), digest.data());
        return lastHandle_;
    }

    bool Encrypt(Handle key, std::uint8_t* buffer, std::size_t& length,
                 std::size_t bufferLength) override {
        if (buffer != nullptr && length > bufferLength) return Fail(MoreData) != 0;
        return Apply(key, buffer, length);
    }
    bool Decrypt(Handle key, std::uint8_t* buffer, std::size_t& length) override {
        return Apply(key, buffer, length);
    }

    void DestroyHash(Handle hash) override { hashes_.erase(hash); }
    void DestroyKey(Handle key) override { keys_.erase(key); }
    void ReleaseContext(Handle /*context*/) override {}
    std::int32_t LastError() const override { return lastError_; }

  private:
    bool Apply(Handle key, std::uint8_t* buffer, std::size_t length) {
        const auto found = keys_.find(key);
        if (found == keys_.end()) return Fail(BadKey) != 0;
        if (buffer != nullptr) arcfour_crypt(&found->second, length, buffer, buffer);
        return true;
    }
    Handle Fail(std::int32_t reason) {
        lastError_ = reason;
        return 0;
    }

    std::map<Handle, md5_ctx> hashes_;
    std::map<Handle, arcfour_ctx> keys_;
    Handle lastHandle_ = 0;
    std::int32_t lastError_ = 0;
};

}  // namespace

std::unique_ptr<Cryptography> PlatformCryptography() {
    return std::make_unique<NettleCryptography>();
}

}  // namespace QuillonLib
