// Comparing databases of a live server directly, and making them agree.
#pragma once

#include <string>
#include <vector>

#include "LiveServer.h"
#include "cli/ScriptRunner.h"

namespace QuillonLib::live {

// Compares directly, and writes the script for the target.
inline std::u16string DirectScriptOf(const Database& one, const Database& two,
                                     const std::vector<DirectTable>& tables,
                                     const DirectScriptOptions& options) {
    DirectScriptWriter writer(options.target == 2 ? two : one, options);
    DirectSink sink;
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results = CompareDirectly(one, two, tables, {}, sink);
    for (const DirectTableResult& result : results)
        EXPECT_FALSE(result.error) << ToUtf8(result.shape.table.Name) << result.error->what();
    std::u16string script;
    writer.Write(results, [&](std::u16string_view piece) { script += piece; });
    return script;
}

// As `quillon sync` runs it.
inline void Apply(const std::u16string& script, const Database& target) {
    quillon::RunBatches(*Open(target.DatabaseName()), quillon::CutIntoBatches(script, 500));
}

}  // namespace QuillonLib::live
