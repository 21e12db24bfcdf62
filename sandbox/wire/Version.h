// Versions of the protocol, oldest first, so that they compare.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>

namespace sandbox::wire {

enum class TdsVersion { V71, V72, V73A, V73B, V74 };

// What a login packet asks for. Anything older than 7.1 is answered as 7.1.
inline TdsVersion AskedFor(std::uint32_t version) {
    if (version >= 0x74000000) return TdsVersion::V74;
    if (version >= 0x730B0000) return TdsVersion::V73B;
    if (version >= 0x73000000) return TdsVersion::V73A;
    if (version >= 0x72000000) return TdsVersion::V72;
    return TdsVersion::V71;
}

// The newest version that a server of this product version ("8.00.2039") speaks.
inline TdsVersion NewestOf(const std::string& product) {
    int major = 0;  // what is no number counts as old
    std::from_chars(product.data(), product.data() + product.size(), major);
    if (major >= 11) return TdsVersion::V74;
    if (major == 10) return TdsVersion::V73B;
    if (major == 9) return TdsVersion::V72;
    return TdsVersion::V71;
}

// As the login acknowledgement carries it, most significant byte first.
inline std::uint32_t Acknowledged(TdsVersion version) {
    switch (version) {
        case TdsVersion::V71:
            return 0x71000001;
        case TdsVersion::V72:
            return 0x72090002;
        case TdsVersion::V73A:
            return 0x730A0003;
        case TdsVersion::V73B:
            return 0x730B0003;
        case TdsVersion::V74:
            return 0x74000004;
    }
    return 0;
}

inline bool HasRequestHeaders(TdsVersion v) {
    return v >= TdsVersion::V72;
}
inline bool HasWideCounts(TdsVersion v) {
    return v >= TdsVersion::V72;
}
inline bool HasMaxTypes(TdsVersion v) {
    return v >= TdsVersion::V72;
}
inline bool HasDateTypes(TdsVersion v) {
    return v >= TdsVersion::V73A;
}

}  // namespace sandbox::wire
