// Procedure calls as they come over the wire, and the batches that do the same.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Bytes.h"
#include "Version.h"

namespace sandbox::wire {

struct RpcParameter {
    std::u16string name;  // "@p1", or "" by position
    bool output = false;
    bool useDefault = false;
    std::u16string literal;               // the value as T-SQL writes it: 5, N'it''s', 0x00, NULL
    std::optional<std::u16string> text;   // the value of a character type
    std::optional<std::int32_t> integer;  // the value of an integer type
};

struct RpcCall {
    std::u16string procedure;
    std::vector<RpcParameter> parameters;
};

// The calls of one request. Throws ProtocolError.
std::vector<RpcCall> ParseRpc(Bytes payload, TdsVersion version);

// "EXEC procedure @a=1, N'x'".
std::u16string ExecuteText(const RpcCall& call);

// A statement with parameters, as sp_executesql and sp_prepare take it.
struct ParameterizedStatement {
    std::u16string declarations;  // "@a int, @b nvarchar(10) OUTPUT"; empty without parameters
    std::u16string statement;

    // The batch that declares the parameters as variables, gives them their values and runs the
    // statement, all in front of it on its first line.
    std::u16string Batch(const std::vector<RpcParameter>& values) const;
};

class PreparedStatements {
  public:
    // Returns the handle.
    std::int32_t Add(ParameterizedStatement statement);
    // Null for an unknown handle.
    const ParameterizedStatement* Find(std::int32_t handle) const;
    bool Remove(std::int32_t handle);
    void Clear() { statements_.clear(); }

  private:
    std::map<std::int32_t, ParameterizedStatement> statements_;
    std::int32_t last_ = 0;
};

}  // namespace sandbox::wire
