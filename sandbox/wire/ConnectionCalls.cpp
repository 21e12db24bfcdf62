// Requests other than batches: procedure calls and transactions. Each is turned into a batch.
#include <algorithm>
#include <array>
#include <utility>

#include "Connection.h"
#include "RequestHeaders.h"

namespace sandbox::wire {

namespace {

Message Refusal(std::int32_t number, std::u16string text) {
    Message message;
    message.number = number;
    message.text = std::move(text);
    return message;
}

std::u16string Digits(std::int64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

bool EqualIgnoringCase(std::u16string_view text, std::u16string_view lower) {
    return std::ranges::equal(text, lower, [](char16_t a, char16_t b) {
        return (a >= u'A' && a <= u'Z' ? a - u'A' + u'a' : a) == b;
    });
}

std::u16string TextAt(const RpcCall& call, std::size_t position) {
    if (position >= call.parameters.size()) return {};
    return call.parameters[position].text.value_or(u"");
}

// The values behind the first `taken` parameters.
std::vector<RpcParameter> ValuesFrom(const RpcCall& call, std::size_t taken) {
    const auto& all = call.parameters;
    const auto first = all.begin() + static_cast<std::ptrdiff_t>(std::min(taken, all.size()));
    return {first, all.end()};
}

// What a transaction manager request asks for, in T-SQL.
class TransactionRequest {
  public:
    explicit TransactionRequest(ByteReader& reader) : reader_(reader) {}

    // Empty for a request that needs a transaction coordinator. Throws ProtocolError.
    std::u16string Read() {
        constexpr std::uint16_t kBegin = 5;
        constexpr std::uint16_t kCommit = 7;
        constexpr std::uint16_t kRollback = 8;
        constexpr std::uint16_t kSave = 9;
        switch (reader_.Get16()) {
            case kBegin:
                return Begin();
            case kCommit:
                return End(u"COMMIT TRANSACTION", false);
            case kRollback:
                rollback_ = true;
                return End(u"ROLLBACK TRANSACTION", true);
            case kSave:
                return u"SAVE TRANSACTION" + Name();
            default:
                return {};
        }
    }

    bool IsRollback() const { return rollback_; }

  private:
    std::u16string Name() {
        const std::u16string name = reader_.Text(reader_.Get8());
        return name.empty() ? name : u" [" + name + u"]";
    }

    std::u16string Begin() {
        constexpr std::array<std::u16string_view, 6> kLevels = {
            u"",        u"READ UNCOMMITTED", u"READ COMMITTED", u"REPEATABLE READ", u"SERIALIZABLE",
            u"SNAPSHOT"};
        const std::uint8_t level = reader_.Get8();
        if (level >= kLevels.size()) throw ProtocolError("an unknown isolation level");
        std::u16string text;
        if (level != 0) {
            text.append(u"SET TRANSACTION ISOLATION LEVEL ").append(kLevels[level]).append(u" ");
        }
        return text + u"BEGIN TRANSACTION" + Name();
    }

    std::u16string End(std::u16string text, bool named) {
        const std::u16string name = Name();
        if (named) text += name;
        constexpr std::uint8_t kBeginNext = 1;
        if ((reader_.Get8() & kBeginNext) != 0) text += u" " + Begin();
        return text;
    }

    ByteReader& reader_;
    bool rollback_ = false;
};

}  // namespace

bool Connection::ServeTransaction(Bytes payload) {
    ByteReader reader(payload);
    SkipHeaders(reader, tokens_.Version());
    TransactionRequest request(reader);
    Work work;
    work.batch = request.Read();
    if (request.IsRollback()) work.ended = Environment::RollbackTransaction;

    ResultWriter results(tokens_, watch_.Cancelled(), false);
    if (work.batch.empty()) {
        results.Say(Refusal(8501, u"MSDTC on server is unavailable."));
    } else {
        switch (Execute(work, results)) {
            case Outcome::Dropped:
                return false;
            case Outcome::Attention:
                results.End(false);
                return EndCancelled();
            case Outcome::Finished:
                break;
        }
    }
    results.End(true);
    out_.EndMessage();
    return !out_.Broken();
}

bool Connection::ServeRpc(Bytes payload) {
    const std::vector<RpcCall> calls = ParseRpc(payload, tokens_.Version());
    for (const RpcCall& call : calls) {
        if (!Call(call, &call == &calls.back())) return false;
    }
    return !out_.Broken();
}

bool Connection::Call(const RpcCall& call, bool last) {
    const auto is = [&call](std::u16string_view name) {
        return EqualIgnoringCase(call.procedure, name);
    };
    const auto handle = [&call] {
        return call.parameters.empty() ? 0 : call.parameters[0].integer.value_or(0);
    };
    const auto noSuchHandle = [&](std::int32_t asked) {
        return RefuseCall(
            Refusal(8179, u"Could not find prepared statement with handle " + Digits(asked) + u"."),
            last);
    };

    if (is(u"sp_executesql")) {
        const ParameterizedStatement statement{TextAt(call, 1), TextAt(call, 0)};
        return RunCall({statement.Batch(ValuesFrom(call, 2)), true}, std::nullopt, last);
    }
    if (is(u"sp_prepare")) {
        const std::int32_t added = prepared_.Add({TextAt(call, 1), TextAt(call, 2)});
        EndCall(false, added, last);
        return !out_.Broken();
    }
    if (is(u"sp_prepexec")) {
        const std::int32_t added = prepared_.Add({TextAt(call, 1), TextAt(call, 2)});
        return RunCall({prepared_.Find(added)->Batch(ValuesFrom(call, 3)), true}, added, last);
    }
    if (is(u"sp_execute")) {
        const ParameterizedStatement* statement = prepared_.Find(handle());
        if (statement == nullptr) return noSuchHandle(handle());
        return RunCall({statement->Batch(ValuesFrom(call, 1)), true}, std::nullopt, last);
    }
    if (is(u"sp_unprepare")) {
        if (!prepared_.Remove(handle())) return noSuchHandle(handle());
        EndCall(false, std::nullopt, last);
        return !out_.Broken();
    }
    return RunCall({ExecuteText(call)}, std::nullopt, last);
}

bool Connection::RunCall(const Work& work, std::optional<std::int32_t> handle, bool last) {
    ResultWriter results(tokens_, watch_.Cancelled(), true);
    switch (Execute(work, results)) {
        case Outcome::Dropped:
            return false;
        case Outcome::Attention:
            // The rest of the request is given up as well.
            results.End(false);
            EndCancelled();
            return !out_.Broken() && last;
        case Outcome::Finished:
            break;
    }
    results.End(false);
    EndCall(results.Failed(), handle, last);
    return !out_.Broken();
}

void Connection::EndCall(bool failed, std::optional<std::int32_t> handle, bool last) {
    constexpr std::int32_t kFailed = -6;
    tokens_.ReturnStatus(failed ? kFailed : 0);
    if (handle) tokens_.ReturnValue(u"@handle", 0, *handle);
    std::uint16_t status = last ? 0 : done_status::More;
    if (failed) status |= done_status::Error;
    tokens_.Done(Token::DoneProcedure, status, 0, 0);
    if (last) out_.EndMessage();
}

bool Connection::RefuseCall(const Message& message, bool last) {
    tokens_.Say(message);
    EndCall(true, std::nullopt, last);
    return !out_.Broken();
}

}  // namespace sandbox::wire
