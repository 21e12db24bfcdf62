// A call of the program as text.
#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace quillon {

// As a POSIX shell takes it: in quotes where it holds anything that a shell would read.
std::string ShellWord(std::string_view text);

// The call of another command with those arguments and options of this one that both have:
// "quillon script db1/a db2/b --key t=id". Who logs in is not told: NAME stands for it.
std::string SameCallOf(const CLI::App& command, const CLI::App& other);

}  // namespace quillon
