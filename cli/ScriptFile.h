// Where the scripts go that a command writes: a file, which is written whole or not at all, or
// standard output.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Console.h"
#include "core/WholeFile.h"
#include "direct/SpillFile.h"

namespace quillon {

enum class ScriptEncoding { Utf8, Utf16 };

// What a file with a script begins with, so that clients read it as what it is.
std::string MarkOf(ScriptEncoding encoding);
// Throws std::runtime_error for half a surrogate pair, which UTF-8 cannot carry; a pair stands in
// one piece.
std::string EncodeScript(std::u16string_view piece, ScriptEncoding encoding);

// "update.sql" for database 2 becomes "update.2.sql".
std::string WithSide(const std::string& file, int side);

// A script that comes piece by piece. What was written is gone with the object, unless FinishAll
// was called.
class ScriptSink {
  public:
    virtual ~ScriptSink() = default;

    // `file`: "-" for standard output, which gets nothing before FinishAll.
    static std::unique_ptr<ScriptSink> Open(const std::string& file, ScriptEncoding encoding,
                                            Console& console);

    // Throws Error FileAccess where there is no room, and std::runtime_error as EncodeScript.
    virtual void Write(std::u16string_view piece) = 0;
    // The files take their names, all of them or none; what goes to standard output is printed.
    // Throws Error FileAccess, and OutputFailure.
    static void FinishAll(const std::vector<std::unique_ptr<ScriptSink>>& sinks);

  protected:
    // Writes what it still holds. A file that is to take its name then is among `files`.
    virtual void Complete(std::vector<QuillonLib::WholeFile*>& files) = 0;
    // Tells the user where the script is.
    virtual void Tell() {}
};

}  // namespace quillon
