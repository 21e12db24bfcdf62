#include "direct/DirectComparison.h"

#include <exception>
#include <utility>

#include "core/Error.h"
#include "direct/TableRun.h"

namespace QuillonLib {

namespace {

// What a handler threw, on its way past the errors of tables.
struct HandlerFailed {
    std::exception_ptr failure;
};

class ToSink : public Outlet {
  public:
    ToSink(const DirectSink& sink, const DirectTableResult& result)
        : sink_(sink), result_(result) {}

    void Found(FoundDifference difference) override {
        if (!sink_.Difference) return;
        try {
            sink_.Difference({result_.shape, difference.change,
                              difference.row1 ? &*difference.row1 : nullptr,
                              difference.row2 ? &*difference.row2 : nullptr, difference.changed});
        } catch (...) {
            throw HandlerFailed{std::current_exception()};
        }
    }

  private:
    const DirectSink& sink_;
    const DirectTableResult& result_;
};

void RequireSense(const DirectOptions& options) {
    if (options.equality.floatDigits < 0 || options.equality.floatDigits > 17) {
        throw Error(ErrorNumber::InvalidArgument, u"Floats have 1 to 17 digits, or 0 for all.");
    }
}

}  // namespace

std::vector<DirectTableResult> CompareDirectly(const Database& database1, const Database& database2,
                                               const std::vector<DirectTable>& tables,
                                               const DirectOptions& options,
                                               const DirectSink& sink) {
    RequireSense(options);
    TableRunner runner(database1, database2, options);
    std::vector<DirectTableResult> results;
    results.reserve(tables.size());
    for (const DirectTable& table : tables) {
        DirectTableResult& result = results.emplace_back();
        ToSink outlet(sink, result);
        try {
            runner.Run(table, result, outlet);
        } catch (const HandlerFailed& failed) {
            std::rethrow_exception(failed.failure);
        }
    }
    return results;
}

}  // namespace QuillonLib
