// The headers that clients from version 7.2 on put in front of a request.
#pragma once

#include "Bytes.h"
#include "Version.h"

namespace sandbox::wire {

// Throws ProtocolError.
inline void SkipHeaders(ByteReader& reader, TdsVersion version) {
    if (!HasRequestHeaders(version)) return;
    const std::uint32_t total = reader.Get32();
    if (total < sizeof total) throw ProtocolError("request headers of impossible length");
    reader.Take(total - sizeof total);
}

}  // namespace sandbox::wire
