// What a batch tells its client by itself: PRINT, RAISERROR, THROW.

#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {

namespace {

// The printf-like places of RAISERROR: %s %d %i %u %x %%.
std::u16string FillIn(std::u16string_view pattern, const std::vector<std::u16string>& args) {
    std::u16string out;
    std::size_t next = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != u'%' || i + 1 >= pattern.size()) {
            out += pattern[i];
            continue;
        }
        ++i;
        if (pattern[i] == u'%') {
            out += u'%';
        } else {
            out += next < args.size() ? args[next] : u"(null)";
            ++next;
        }
    }
    return out;
}

}  // namespace

void Executor::Print(const SimpleStmt& stmt) {
    Message m;
    m.severity = 0;
    m.text = EvaluateText(*stmt.args[0]);
    m.line = stmt.line;
    if (m.text.empty()) m.text = u" ";
    sink_.Say(m);
    Done();
}

void Executor::RaisError(const SimpleStmt& stmt) {
    if (stmt.args.size() < 3) ThrowSyntax(u")");
    const TypedValue text = Evaluate(*stmt.args[0]);
    const TypedValue severity = Evaluate(*stmt.args[1]);
    const TypedValue state = Evaluate(*stmt.args[2]);
    std::vector<std::u16string> args;
    for (std::size_t i = 3; i < stmt.args.size(); ++i)
        args.push_back(EvaluateText(*stmt.args[i]));
    const bool numbered = IsInteger(text.type.id);
    const std::u16string body = numbered ? u"Error " + ToText(text.value.i)
                                         : FillIn(DisplayText(text.value, text.type), args);
    SqlError error(numbered ? static_cast<std::int32_t>(text.value.i) : 50000, body,
                   static_cast<std::uint8_t>(severity.value.i),
                   static_cast<std::uint8_t>(state.value.i));
    error.message.line = stmt.line;
    if (severity.value.i <= 10) {
        error.message.number = 0;
        sink_.Say(error.message);
        context_.lastError = 0;
        Done();
        return;
    }
    error.reach = ErrorReach::Statement;
    throw SqlError(error);
}

void Executor::Throw(const SimpleStmt& stmt) {
    if (stmt.args.empty()) {
        if (!currentError_) {
            throw SqlError(10704,
                           u"To rethrow an error, a THROW statement must be used inside a CATCH "
                           u"block. Insert the THROW statement inside a CATCH block, or add error "
                           u"parameters to the THROW statement.",
                           15);
        }
        SqlError again = *currentError_;
        again.reach = ErrorReach::Batch;
        throw SqlError(again);
    }
    SqlError error(static_cast<std::int32_t>(Evaluate(*stmt.args[0]).value.i),
                   EvaluateText(*stmt.args[1]), 16,
                   static_cast<std::uint8_t>(Evaluate(*stmt.args[2]).value.i));
    error.reach = ErrorReach::Batch;
    throw SqlError(error);
}

}  // namespace sandbox::engine
