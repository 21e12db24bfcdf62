// What a Recordset costs beside the driver: processor time of the client against a bare block fetch
// into the same kinds of buffers, and memory against the payload; with huge pages and without, on
// any processor and on one.
//
//   quillon_recordset_bench [rows]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "BareFetch.h"
#include "Bars.h"
#include "BenchSupport.h"
#include "Conditions.h"
#include "cli/Driver.h"
#include "data/Recordset.h"

namespace {

using bench::Measured;

constexpr double MaxCpuRatio = 1.1;

// Bytes of the values themselves.
std::size_t Payload(const QuillonLib::Recordset& rows) {
    using QuillonLib::ValueKind;
    std::size_t bytes = 0;
    for (std::size_t block = 0; block < rows.BlockCount(); ++block) {
        for (std::size_t field = 0; field < rows.FieldCount(); ++field) {
            const QuillonLib::PackedColumn column = rows.Column(block, field);
            for (std::size_t row = 0; row < rows.RowsInBlock(block); ++row) {
                if (column.IsNull(row)) continue;
                switch (column.Kind()) {
                    case ValueKind::Boolean:
                        bytes += 1;
                        break;
                    case ValueKind::Long:
                        bytes += 4;
                        break;
                    case ValueKind::Decimal:
                        bytes += column.Digits(row).size();
                        break;
                    case ValueKind::String:
                        bytes += column.Text(row).size() * sizeof(char16_t);
                        break;
                    default:
                        bytes += 8;
                        break;
                }
            }
        }
    }
    return bytes;
}

std::size_t ResidentBytes() {
    std::size_t total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// On a fresh heap: what earlier runs gave back would hide the growth.
void PrintMemory(const std::u16string& batch,
                 const std::shared_ptr<QuillonLib::Connection>& connection) {
    const std::size_t before = ResidentBytes();
    QuillonLib::Recordset rows;
    rows.Open(batch, connection);
    const std::size_t resident = ResidentBytes() - std::min(before, ResidentBytes());
    const std::size_t payload = Payload(rows);
    std::printf("%-22s %8.1f MB\n", "payload", static_cast<double>(payload) / 1e6);
    std::printf("%-22s %8.1f MB  %6.2f of the payload\n", "Recordset",
                static_cast<double>(rows.MemoryUsed()) / 1e6,
                static_cast<double>(rows.MemoryUsed()) / static_cast<double>(payload));
    std::printf("%-22s %8.1f MB\n", "resident set grew by", static_cast<double>(resident) / 1e6);
}

int Run(const bench::ServerProcess& server, std::size_t count) {
    const std::string digits = std::to_string(count);
    const std::u16string batch = u"SELECT " + std::u16string(digits.begin(), digits.end());

    bench::BareConnection bare(server.ConnectionString());
    const auto connection = std::make_shared<QuillonLib::Connection>();
    connection->Open(server.ConnectionString());
    bare.Fetch(batch, bench::MixedColumns);  // warms the server
    PrintMemory(batch, connection);

    // As scripts are read: with the code pages of the catalog.
    const QuillonLib::FieldCodePages pages{{u"Code", 1252}};
    Measured bareBest, recordsetBest, exactBest;
    for (int run = 0; run < 5; ++run) {
        std::size_t bareRows = 0;
        bench::KeepBest(bareBest,
                        bench::Measure([&] { bareRows = bare.Fetch(batch, bench::MixedColumns); }));
        QuillonLib::Recordset rows;
        bench::KeepBest(recordsetBest, bench::Measure([&] { rows.Open(batch, connection); }));
        QuillonLib::Recordset exact;
        bench::KeepBest(exactBest, bench::Measure([&] { exact.Open(batch, connection, pages); }));
        if (bareRows != count || rows.RecordCount() != count || exact.RecordCount() != count) {
            std::fprintf(stderr, "rows were lost\n");
            return 1;
        }
    }
    const auto print = [&](const char* name, const Measured& best) {
        std::printf("%-22s %8.3f s CPU  %8.3f s  %6.2f M rows/s\n", name, best.cpu, best.wall,
                    static_cast<double>(count) / best.wall / 1e6);
    };
    print("bare block fetch", bareBest);
    print("Recordset::Open", recordsetBest);
    print("with code pages", exactBest);
    bool held =
        bench::AtMost("Recordset CPU / bare fetch", recordsetBest.cpu / bareBest.cpu, MaxCpuRatio);
    held &= bench::AtMost("the same with code pages", exactBest.cpu / bareBest.cpu, MaxCpuRatio);
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    return bench::ExitStatusOf([&] {
        const bench::ServerProcess server;
        return bench::UnderEachCondition([&] { return Run(server, count); });
    });
}
