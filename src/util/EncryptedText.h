// What text encryption gives: bytes, from 0.
//
// The encryption protects nothing against a serious attacker: an unsalted MD5 digest of the pass
// phrase keys RC4, the same text always gives the same bytes, and two texts under one pass phrase
// betray each other. It is kept for the data that exists. Keep secrets elsewhere.
#pragma once

#include <cstdint>

#include "core/BoundedArray.h"

namespace QuillonLib {

using EncryptedText = BoundedArray<std::uint8_t>;

}  // namespace QuillonLib
