#include <memory>
#include <vector>

#include "cli/CommandOptions.h"
#include "cli/DirectScripts.h"
#include "cli/Roads.h"

namespace quillon {

int WriteScriptsDirect(const ScriptFileOptions& options, Console& console) {
    const DirectRun run = PrepareDirect(options.comparison, console);
    const std::vector<int> sides = options.Sides();
    DirectScripts scripts(run, sides, options.guard, console);
    std::vector<std::unique_ptr<ScriptSink>> files;
    for (const int side : sides) {
        ScriptSink& file = *files.emplace_back(
            ScriptSink::Open(options.FileFor(side), options.Encoding(), console));
        scripts.Write(
            side, [&](std::u16string_view piece) { file.Write(piece); }, {},
            [&] { files.clear(); });
    }
    ScriptSink::FinishAll(files);
    const std::vector<LeftOut> leftOut = scripts.NotBroughtOver();
    NoteLeftOut(leftOut, console);
    return options.comparison.Accepted(GravestCode(leftOut));
}

}  // namespace quillon
