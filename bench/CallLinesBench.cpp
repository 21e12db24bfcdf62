// What it costs to write the call lines of a script from packed rows, beside what it costs to fetch
// them; with huge pages and without, on any processor and on one.
//
//   quillon_call_lines_bench [rows]
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "BareFetch.h"
#include "BenchSupport.h"
#include "Conditions.h"
#include "cli/Driver.h"
#include "core/Text.h"
#include "data/Recordset.h"
#include "scripts/CallLines.h"

namespace {

int Run(const bench::ServerProcess& server, std::size_t count) {
    const std::string digits = std::to_string(count);
    const std::u16string batch = u"SELECT " + std::u16string(digits.begin(), digits.end());

    bench::BareConnection bare(server.ConnectionString());
    bench::Measured fetched;
    for (int run = 0; run < 5; ++run) {
        bench::KeepBest(fetched, bench::Measure([&] { bare.Fetch(batch, bench::MixedColumns); }));
    }
    const auto connection = std::make_shared<QuillonLib::Connection>();
    connection->Open(server.ConnectionString());
    QuillonLib::CallLines calls{std::make_shared<QuillonLib::Recordset>(), {}};
    calls.Rows->Open(batch, connection);

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
    const auto print = [&](const char* name, const bench::Measured& measured) {
        std::printf("%-22s %8.3f s CPU  %6.2f of the bare fetch\n", name, measured.cpu,
                    measured.cpu / fetched.cpu);
    };
    print("bare block fetch", fetched);
    print("into new memory", first);
    print("into memory in use", best);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 500000;
    return bench::ExitStatusOf([&] {
        const bench::ServerProcess server;
        return bench::UnderEachCondition([&] { return Run(server, count); });
    });
}
