// How much memory a direct comparison takes at its peak: the same for any number of rows, whether
// few of them differ or all, and with a script written of them; and the same for rows without a
// key, of which all are kept until they have been read. Each figure is taken in a process of its
// own.
//
//   quillon_direct_memory_bench [rows]   which are doubled twice
//   quillon_direct_memory_bench ROWS bag   so many without a key, all of which differ
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Bars.h"
#include "DirectRun.h"
#include "DirectTables.h"
#include "PeakMemory.h"
#include "ScratchFolder.h"
#include "cli/Driver.h"
#include "core/Text.h"
#include "direct/DirectScript.h"

namespace {

constexpr double MaxGrowth = 64;  // MiB

struct Findings {
    double peakGrowth = 0;  // bytes
    std::uint64_t differences = 0;
    std::uint64_t scriptBytes = 0;
};

template <class Action>
void MeasurePeak(Findings& findings, const Action& action) {
    bench::ForgetPeak();
    const double before = bench::PeakBytes();
    action();
    findings.peakGrowth = bench::PeakBytes() - before;
}

void Compare(Findings& findings, const std::u16string& address) {
    const auto one = bench::Describe(address, u"one");
    const auto two = bench::Describe(address, u"two");
    MeasurePeak(findings, [&] {
        const auto results = bench::CompareTables(*one, *two, {u"t"});
        if (!results.at(0).complete) throw std::runtime_error("the comparison failed");
        findings.differences = results[0].differing + results[0].onlyIn1 + results[0].onlyIn2;
    });
}

void CompareAndWrite(Findings& findings, const std::u16string& address, const std::string& file) {
    using namespace QuillonLib;
    const auto one = bench::Describe(address, u"one");
    const auto two = bench::Describe(address, u"two");
    MeasurePeak(findings, [&] {
        DirectScriptWriter writer(*two, {});
        DirectSink sink;
        sink.Difference = [&](const DirectDifference& difference, bool&) {
            ++findings.differences;
            writer.Add(difference);
        };
        const auto results = bench::CompareTables(*one, *two, {u"t"}, sink);
        if (!results.at(0).complete) throw std::runtime_error("the comparison failed");
        std::ofstream script(file, std::ios::binary);
        writer.Write(results, [&](std::u16string_view piece) {
            const std::string text = ToUtf8(piece);
            findings.scriptBytes += text.size();
            script.write(text.data(), static_cast<std::streamsize>(text.size()));
        });
        if (!script.flush()) throw std::runtime_error("the script cannot be written");
    });
}

bool Print(const std::string& name, std::int64_t rows, const Findings& findings) {
    std::printf("%-26s %9lld rows  %9llu differences  script %8.1f MiB\n", name.c_str(),
                static_cast<long long>(rows), static_cast<unsigned long long>(findings.differences),
                static_cast<double>(findings.scriptBytes) / bench::Mebibyte);
    return bench::AtMost("peak above the start, MiB", findings.peakGrowth / bench::Mebibyte,
                         MaxGrowth);
}

bool RunOn(bench::Sides sides, std::int64_t rows, bool keyed) {
    const bench::MadeUpTables tables{rows, sides, keyed};
    const bench::ServerProcess server(
        [&] { return std::make_unique<bench::DirectTables>(tables); });
    const std::u16string address = server.Address();
    const bench::ScratchFolder folder;
    const bool few = sides == bench::Sides::NearlyEqual;
    const std::string kind = keyed ? "" : ", no key";
    Findings findings = bench::InChild<Findings>([&](Findings& f) { Compare(f, address); });
    bool held = Print((few ? "1 % differ" : "all differ") + kind, rows, findings);
    findings = bench::InChild<Findings>(
        [&](Findings& f) { CompareAndWrite(f, address, folder.File("script")); });
    held &= Print((few ? "1 %, with a script" : "all, with a script") + kind, rows, findings);
    return held;
}

int Run(std::int64_t rows) {
    bool held = true;
    for (const std::int64_t count : {rows, 2 * rows, 4 * rows}) {
        for (const bool keyed : {true, false}) {
            held &= RunOn(bench::Sides::NearlyEqual, count, keyed);
            held &= RunOn(bench::Sides::Different, count, keyed);
        }
    }
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::int64_t rows = argc > 1 ? std::atoll(argv[1]) : 1000000;
    const bool bag = argc > 2 && std::string(argv[2]) == "bag";
    return bench::ExitStatusOf(
        [&] { return bag ? (RunOn(bench::Sides::Different, rows, false) ? 0 : 1) : Run(rows); });
}
