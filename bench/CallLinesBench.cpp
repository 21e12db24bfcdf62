// How fast the call lines of a script are written from packed rows.
//
//   quillon_call_lines_bench [rows]
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "cli/Driver.h"
#include "core/Text.h"
#include "data/Recordset.h"
#include "scripts/CallLines.h"

namespace {

int Run(std::size_t count) {
    const std::string digits = std::to_string(count);

    const bench::ServerProcess server;
    const auto connection = std::make_shared<QuillonLib::Connection>();
    connection->Open(server.ConnectionString());
    QuillonLib::CallLines calls{std::make_shared<QuillonLib::Recordset>(), {}};
    calls.Rows->Open(u"SELECT " + std::u16string(digits.begin(), digits.end()), connection);

    for (std::size_t i = 0; i < calls.Rows->FieldCount(); ++i)
        calls.Fields.push_back(i);
    // A script's text is new memory, which the system has to clear; the first run shows that too.
    bench::Measured first, best;
    std::u16string lines;
    for (int run = 0; run < 5; ++run) {
        lines.clear();
        const bench::Measured measured = bench::Measure([&] {
            constexpr std::u16string_view Command = u"EXEC prcTmp_QVX_Insert ";
            QuillonLib::ReserveScript(lines, calls.ExpectedLength(Command));
            AppendCallLines(lines, Command, calls, QuillonLib::RowUse::Keep);
        });
        if (run == 0) first = measured;
        bench::KeepBest(best, measured);
    }
    std::printf("%s ...\n", QuillonLib::ToUtf8(lines.substr(0, 150)).c_str());
    const auto print = [&](const char* name, const bench::Measured& run) {
        std::printf("%-20s %.3f s CPU  %6.2f M lines/s  %6.0f MB/s\n", name, run.cpu,
                    static_cast<double>(count) / run.cpu / 1e6,
                    static_cast<double>(lines.size()) * sizeof(char16_t) / run.cpu / 1e6);
    };
    print("into new memory", first);
    print("into memory in use", best);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 500000;
    return bench::ExitStatusOf([&] { return Run(count); });
}
