// What connections know of a failure, as text. Not installed.
#pragma once

#include <memory>
#include <span>
#include <string>

namespace QuillonLib {

class Connection;

// A line break and the text of every diagnostic of each connection's last failure, connection after
// connection. Null connections have none.
std::u16string GetConnectionErrors(std::span<const std::shared_ptr<Connection>> connections);

}  // namespace QuillonLib
