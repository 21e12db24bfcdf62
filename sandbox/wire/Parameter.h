// The value of one parameter of a procedure call.
#pragma once

#include "Bytes.h"
#include "Rpc.h"

namespace sandbox::wire {

// Reads type and value at `reader` into `parameter`. Throws ProtocolError.
void ReadValue(ByteReader& reader, RpcParameter& parameter);

}  // namespace sandbox::wire
