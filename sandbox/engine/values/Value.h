// A value of the engine outside of SQLite: a variable, a literal, an argument.
#pragma once

#include <cstdint>
#include <string>

namespace sandbox::engine {

// Values are held in the encoding in which SQLite stores them (see Types.h), so binding and reading
// them never converts.
struct Value {
    enum class Kind : std::uint8_t { Null, Int, Real, Text, Blob };

    Kind kind = Kind::Null;
    std::int64_t i = 0;
    double d = 0;
    std::u16string text;
    std::string bytes;

    bool IsNull() const { return kind == Kind::Null; }

    static Value Null() { return {}; }
    static Value Int(std::int64_t v) {
        Value r;
        r.kind = Kind::Int;
        r.i = v;
        return r;
    }
    static Value Real(double v) {
        Value r;
        r.kind = Kind::Real;
        r.d = v;
        return r;
    }
    static Value Text(std::u16string v) {
        Value r;
        r.kind = Kind::Text;
        r.text = std::move(v);
        return r;
    }
    static Value Blob(std::string v) {
        Value r;
        r.kind = Kind::Blob;
        r.bytes = std::move(v);
        return r;
    }
};

}  // namespace sandbox::engine
