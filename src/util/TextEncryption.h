// Encryption of a text with a pass phrase. See EncryptedText.h for what it is not good for.
#pragma once

#include <string>
#include <string_view>

#include "util/EncryptedText.h"

namespace QuillonLib {

class Cryptography;
class SystemMessages;

// The pass phrase counts in Windows-1252: characters that it lacks are all the same "?". A wrong
// pass phrase is not noticed; it decrypts to garbage of the same length.
//
// Errors: 9 for an empty text, an empty array, or one that does not begin at 0; 0x80040001 for a
// cryptographic call that failed, its description telling which.
EncryptedText EncryptText(std::u16string_view sText, std::u16string_view sPassword,
                          Cryptography& cryptography, SystemMessages& messages);
std::u16string DecryptText(EncryptedText vBytes, std::u16string_view sPassword,
                           Cryptography& cryptography, SystemMessages& messages);

// The bytes of a text as they stand in memory: UTF-16, low byte first.
EncryptedText BytesOfText(std::u16string_view text);

}  // namespace QuillonLib
