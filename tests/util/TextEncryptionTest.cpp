#include "tests/support/NumberThrown.h"
#include "util/TextEncryption.h"

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Utils.h"
#include "core/Error.h"
#include "tests/util/EncryptionVectors.h"
#include "util/Cryptography.h"
#include "util/SystemErrorText.h"

namespace QuillonLib {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Calls = std::vector<std::string>;

// The real calls, noted by name, the one named in `failing` made to fail.
class RecordedCryptography final : public Cryptography {
  public:
    explicit RecordedCryptography(std::string failing = {}) : failing_(std::move(failing)) {}

    Handle AcquireContext(std::uint32_t providerType, std::uint32_t flags) override {
        EXPECT_EQ(providerType, 1U);
        EXPECT_EQ(flags, 0xF0000000U);
        return Fails("acquire") ? 0 : real_->AcquireContext(providerType, flags);
    }
    Handle CreateHash(Handle context, std::uint32_t algorithm) override {
        EXPECT_EQ(algorithm, 0x8003U);
        return Fails("create hash") ? 0 : real_->CreateHash(context, algorithm);
    }
    bool HashData(Handle hash, std::span<const std::uint8_t> data) override {
        hashed.assign(data.begin(), data.end());
        return !Fails("hash data") && real_->HashData(hash, data);
    }
    Handle DeriveKey(Handle context, std::uint32_t algorithm, Handle hash,
                     std::uint32_t flags) override {
        EXPECT_EQ(algorithm, 0x6801U);
        EXPECT_EQ(flags, 0x11U);
        return Fails("derive key") ? 0 : real_->DeriveKey(context, algorithm, hash, flags);
    }
    bool Encrypt(Handle key, std::uint8_t* buffer, std::size_t& length,
                 std::size_t bufferLength) override {
        const std::string call = buffer == nullptr ? "size" : "encrypt";
        if (buffer != nullptr) lengths = {length, bufferLength};
        return !Fails(call) && real_->Encrypt(key, buffer, length, bufferLength);
    }
    bool Decrypt(Handle key, std::uint8_t* buffer, std::size_t& length) override {
        return !Fails("decrypt") && real_->Decrypt(key, buffer, length);
    }
    void DestroyHash(Handle hash) override {
        calls.emplace_back("destroy hash");
        real_->DestroyHash(hash);
    }
    void DestroyKey(Handle key) override {
        calls.emplace_back("destroy key");
        real_->DestroyKey(key);
    }
    void ReleaseContext(Handle context) override {
        calls.emplace_back("release");
        real_->ReleaseContext(context);
    }
    std::int32_t LastError() const override { return lastError; }

    Calls calls;
    Bytes hashed;
    std::pair<std::size_t, std::size_t> lengths;  // of the data and of its buffer
    std::int32_t lastError = 0;

  private:
    bool Fails(const std::string& call) {
        calls.push_back(call);
        return call == failing_;
    }
    std::unique_ptr<Cryptography> real_ = PlatformCryptography();
    std::string failing_;
};

class TextEncryptionTest : public ::testing::Test {
  protected:
    EncryptedText Encrypt(std::u16string_view text, std::u16string_view password) {
        const auto cryptography = PlatformCryptography();
        return EncryptText(text, password, *cryptography, *messages);
    }
    std::u16string Decrypt(const EncryptedText& bytes, std::u16string_view password) {
        const auto cryptography = PlatformCryptography();
        return DecryptText(bytes, password, *cryptography, *messages);
    }

    std::unique_ptr<SystemMessages> messages = PlatformMessages();
};

// RC4 under the 16 bytes of MD5("secret"), worked out with another implementation of both.
TEST_F(TextEncryptionTest, GivesTheBytesOfRc4UnderTheMd5OfThePassPhrase) {
    EXPECT_EQ(Encrypt(u"Hello", u"secret").Items,
              (Bytes{0xDE, 0x1C, 0x9D, 0xDF, 0xD7, 0x7F, 0xC3, 0x86, 0x12, 0x15}));
    EXPECT_EQ(Encrypt(u"Hello", u"secret").LowerBound, 0);
    EXPECT_EQ(Encrypt(u"x", u"").Items, (Bytes{0x1D, 0x6C}));
}

std::string HexOf(const Bytes& bytes) {
    constexpr char Digits[] = "0123456789abcdef";
    std::string hex;
    for (const std::uint8_t byte : bytes) {
        hex += Digits[byte >> 4];
        hex += Digits[byte & 15];
    }
    return hex;
}

// The n-th character is (40503 n + 4660) mod 65536.
std::u16string TextOfLength(std::size_t length) {
    std::u16string text;
    for (std::uint32_t n = 0; n < length; ++n)
        text.push_back(static_cast<char16_t>(40503 * n + 4660));
    return text;
}

constexpr std::size_t LongestVector = 300;

TEST_F(TextEncryptionTest, EveryPassPhraseGivesTheBytesOfAnotherImplementation) {
    for (const test::EncryptionVector& vector : test::EncryptionVectors)
        EXPECT_EQ(HexOf(Encrypt(TextOfLength(LongestVector), vector.passPhrase).Items), vector.hex);
}

// The bytes of a text are the first ones of a longer text. Pass phrases take turns.
TEST_F(TextEncryptionTest, EveryLengthGivesTheBytesOfAnotherImplementation) {
    for (std::size_t length = 1; length <= LongestVector; ++length) {
        const auto& vector = test::EncryptionVectors[length % std::size(test::EncryptionVectors)];
        const std::u16string text = TextOfLength(length);
        const EncryptedText bytes = Encrypt(text, vector.passPhrase);
        ASSERT_EQ(HexOf(bytes.Items), vector.hex.substr(0, length * 4)) << length;
        ASSERT_EQ(Decrypt(bytes, vector.passPhrase), text) << length;
    }
}

TEST_F(TextEncryptionTest, TextIsUtf16AndThePassPhraseWindows1252) {
    EXPECT_EQ(Encrypt(u"caf\u00e9 \U0001F600", u"p\u20acss").Items,
              (Bytes{0xB4, 0xF1, 0x2A, 0xF3, 0x27, 0x29, 0x84, 0x5C, 0xE1, 0xA3, 0x75, 0xA1, 0xD8,
                     0x8C}));
}

TEST_F(TextEncryptionTest, DecryptingGivesTheTextBack) {
    const std::u16string text{u'a', 0, 0xD83D, u'\'', 0xFFFF, u'\u00e9'};
    EXPECT_EQ(Decrypt(Encrypt(text, u"pass phrase"), u"pass phrase"), text);
}

TEST_F(TextEncryptionTest, TheSameTextGivesTheSameBytes) {
    EXPECT_EQ(Encrypt(u"again", u"p"), Encrypt(u"again", u"p"));
}

TEST_F(TextEncryptionTest, AWrongPassPhraseGivesGarbageOfTheSameLength) {
    const std::u16string garbage = Decrypt(Encrypt(u"eleven char", u"right"), u"wrong");
    EXPECT_EQ(garbage.size(), 11U);
    EXPECT_NE(garbage, u"eleven char");
}

TEST_F(TextEncryptionTest, CharactersOutsideTheCodePageAreAllAlike) {
    const Bytes questionMarks{0x22, 0x16, 0x60, 0x84, 0xA0, 0xFC, 0xF3, 0x0F};
    EXPECT_EQ(Encrypt(u"same", u"\u0394\u0416").Items, questionMarks);
    EXPECT_EQ(Encrypt(u"same", u"\u4E2D\u6587").Items, questionMarks);
    EXPECT_EQ(Encrypt(u"same", u"\U0001F600").Items, questionMarks);
    EXPECT_EQ(Encrypt(u"same", u"??").Items, questionMarks);
}

TEST_F(TextEncryptionTest, AsManyBytesAreHashedAsThePassPhraseHasCharacters) {
    RecordedCryptography cryptography;
    EncryptText(u"t", u"a\u20ac\u00ff\U0001F600\u0081", cryptography, *messages);
    EXPECT_EQ(cryptography.hashed, (Bytes{'a', 0x80, 0xFF, '?', '?', 0x81}));
}

TEST_F(TextEncryptionTest, AnEmptyTextIsError9) {
    EXPECT_EQ(test::NumberThrown([&] { Encrypt(u"", u"p"); }), 9);
}

TEST_F(TextEncryptionTest, AnEmptyArrayIsError9) {
    EXPECT_EQ(test::NumberThrown([&] { Decrypt(EncryptedText(), u"p"); }), 9);
}

TEST_F(TextEncryptionTest, AnArrayThatDoesNotBeginAtZeroIsError9) {
    EXPECT_EQ(test::NumberThrown([&] { Decrypt(EncryptedText(Bytes{1, 2}, 1), u"p"); }), 9);
    EXPECT_EQ(test::NumberThrown([&] { Decrypt(EncryptedText(Bytes{1, 2}, -1), u"p"); }), 9);
}

TEST_F(TextEncryptionTest, AnOddByteIsNoCharacter) {
    EXPECT_EQ(Decrypt(EncryptedText(Bytes{1, 2, 3}), u"p").size(), 1U);
}

TEST_F(TextEncryptionTest, ReleasesHashKeyAndContextInThatOrder) {
    RecordedCryptography cryptography;
    const EncryptedText bytes = EncryptText(u"t", u"p", cryptography, *messages);
    EXPECT_EQ(cryptography.calls,
              (Calls{"acquire", "create hash", "hash data", "derive key", "size", "encrypt",
                     "destroy hash", "destroy key", "release"}));
    cryptography.calls.clear();
    DecryptText(bytes, u"p", cryptography, *messages);
    EXPECT_EQ(cryptography.calls, (Calls{"acquire", "create hash", "hash data", "derive key",
                                         "decrypt", "destroy hash", "destroy key", "release"}));
}

TEST_F(TextEncryptionTest, EnciphersTheTextInPlace) {
    RecordedCryptography cryptography;
    EncryptText(u"text", u"p", cryptography, *messages);
    EXPECT_EQ(cryptography.lengths, std::pair(std::size_t{8}, std::size_t{8}));
}

// Where the size cannot be asked for, it is that of the text; what stands in the way of more than
// that stands in the way of the next call too.
TEST_F(TextEncryptionTest, AFailureToAskForTheSizeIsPassedOver) {
    RecordedCryptography cryptography("size");
    EXPECT_EQ(EncryptText(u"Hello", u"secret", cryptography, *messages).Items,
              (Bytes{0xDE, 0x1C, 0x9D, 0xDF, 0xD7, 0x7F, 0xC3, 0x86, 0x12, 0x15}));
}

TEST_F(TextEncryptionTest, TheSubscriptErrorComesBehindTheKeyAndReleasesNothing) {
    RecordedCryptography cryptography;
    EXPECT_EQ(test::NumberThrown([&] { EncryptText(u"", u"p", cryptography, *messages); }), 9);
    EXPECT_EQ(cryptography.calls,
              (Calls{"acquire", "create hash", "hash data", "derive key", "size"}));
    cryptography.calls.clear();
    EXPECT_EQ(
        test::NumberThrown([&] { DecryptText(EncryptedText(), u"p", cryptography, *messages); }),
        9);
    EXPECT_EQ(cryptography.calls, (Calls{"acquire", "create hash", "hash data", "derive key"}));
}

struct Failure {
    std::string call;
    std::u16string description;
    Calls calls;
};

// One message, of one code and module.
class BadKeyMessage final : public SystemMessages {
  public:
    Module LoadModule(std::u16string_view name) override { return name == u"advapi32.dll" ? 7 : 0; }
    std::size_t Format(Module module, std::int32_t code, std::size_t,
                       std::u16string& text) override {
        if (module != 7 || code != static_cast<std::int32_t>(0x80090003)) return 0;
        text = u"Bad Key.\r\n";
        return text.size();
    }
    void ReleaseModule(Module) override {}
    std::int32_t LastError() const override { return 317; }
};

class TextEncryptionFailure : public ::testing::TestWithParam<Failure> {
  protected:
    void Check(const std::function<void(Cryptography&, SystemMessages&)>& action) {
        RecordedCryptography cryptography(GetParam().call);
        cryptography.lastError = static_cast<std::int32_t>(0x80090003);
        BadKeyMessage messages;
        try {
            action(cryptography, messages);
            FAIL() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040001));
            EXPECT_EQ(error.Description(), GetParam().description);
            EXPECT_EQ(error.Source(), u"");
        }
        EXPECT_EQ(cryptography.calls, GetParam().calls);
    }
};

class EncryptFailure : public TextEncryptionFailure {};
class DecryptFailure : public TextEncryptionFailure {};

TEST_P(EncryptFailure, RaisesItsTextAfterTheToldReleases) {
    Check([](Cryptography& c, SystemMessages& m) { EncryptText(u"t", u"p", c, m); });
}

TEST_P(DecryptFailure, RaisesItsTextAfterTheToldReleases) {
    Check([](Cryptography& c, SystemMessages& m) {
        DecryptText(EncryptedText(Bytes{1, 2}), u"p", c, m);
    });
}

const Failure NoContext{"acquire", u"Couldn't acquire cryptographic context", {"acquire"}};
const Failure NoHash{
    "create hash", u"Couldn't create cryptographic hash", {"acquire", "create hash", "release"}};
const Failure NotHashed{"hash data",
                        u"Couldn't hash data",
                        {"acquire", "create hash", "hash data", "destroy hash", "release"}};
const Failure NoKey{
    "derive key", u"Couldn't generate key", {"acquire", "create hash", "hash data", "derive key"}};
const Failure NotEncrypted{
    "encrypt",
    u"Couldn't encrypt data (Bad Key.\r\n)",
    {"acquire", "create hash", "hash data", "derive key", "size", "encrypt"}};
const Failure NotDecrypted{"decrypt",
                           u"Couldn't decrypt data (Bad Key.\r\n)",
                           {"acquire", "create hash", "hash data", "derive key", "decrypt"}};

INSTANTIATE_TEST_SUITE_P(Steps, EncryptFailure,
                         ::testing::Values(NoContext, NoHash, NotHashed, NoKey, NotEncrypted));
INSTANTIATE_TEST_SUITE_P(Steps, DecryptFailure,
                         ::testing::Values(NoContext, NoHash, NotHashed, NoKey, NotDecrypted));

// "Hello" under "secret", as above.
TEST(Utils, EncryptsAndDecrypts) {
    const Utils utils;
    const EncryptedText bytes = utils.EncryptText(u"Hello", u"secret");
    EXPECT_EQ(bytes.Items, (Bytes{0xDE, 0x1C, 0x9D, 0xDF, 0xD7, 0x7F, 0xC3, 0x86, 0x12, 0x15}));
    EXPECT_EQ(utils.DecryptText(bytes, u"secret"), u"Hello");
    EXPECT_EQ(utils.DecryptText(bytes, u"other").size(), 5U);
    EXPECT_EQ(test::NumberThrown([&] { utils.EncryptText(u"", u"secret"); }), 9);
    EXPECT_EQ(test::NumberThrown([&] { utils.DecryptText(EncryptedText(), u"secret"); }), 9);
}

TEST(Utils, DecryptsTheBytesOfATextToo) {
    const Utils utils;
    const std::u16string text{0x1CDE, 0xDF9D, 0x7FD7, 0x86C3, 0x1512};
    EXPECT_EQ(utils.DecryptText(text, u"secret"), u"Hello");
    EXPECT_EQ(test::NumberThrown([&] { utils.DecryptText(u"", u"secret"); }), 9);
}

}  // namespace
}  // namespace QuillonLib
