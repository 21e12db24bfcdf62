#include "Connection.h"

#include <algorithm>
#include <array>
#include <exception>
#include <thread>
#include <utility>

#include "FaultSink.h"
#include "RequestHeaders.h"

namespace sandbox::wire {

namespace {

std::u16string Wide(const char* text) {
    return {text, text + std::char_traits<char>::length(text)};
}

Message Information(std::int32_t number, std::u16string text) {
    Message message;
    message.number = number;
    message.severity = 0;
    message.text = std::move(text);
    return message;
}

}  // namespace

Connection::Connection(Socket socket, ServerShare& share, int poller, std::uint64_t id)
    : socket_(std::move(socket)),
      share_(share),
      watch_(socket_, poller, id),
      reader_(socket_),
      out_(socket_, static_cast<std::uint16_t>(50 + id)),
      tokens_(out_, share.backend->ServerName()) {
}

void Connection::Run() {
    try {
        std::optional<LoginPacket> login = ReceiveLogin();
        if (login && AnswerChallenge(*login) && LogIn(*login)) {
            while (const std::optional<Request> request = reader_.Next()) {
                if (!Serve(*request)) break;
            }
        }
    } catch (const ProtocolError&) {
        // Nothing that such a client is told would reach it in a form that it understands.
    }
    session_.reset();
    socket_.Shutdown();
}

void Connection::Abort() {
    watch_.Abort();
    socket_.Shutdown();
}

std::optional<LoginPacket> Connection::ReceiveLogin() {
    while (const std::optional<Request> request = reader_.Next()) {
        switch (request->type) {
            case PacketType::Prelogin: {
                const std::vector<std::uint8_t> answer =
                    AnswerPrelogin(request->payload, share_.backend->Version());
                out_.PutBytes(answer.data(), answer.size());
                out_.EndMessage();
                break;
            }
            case PacketType::Login:
                return ParseLogin(request->payload);
            default:
                return std::nullopt;
        }
    }
    return std::nullopt;
}

bool Connection::AnswerChallenge(LoginPacket& login) {
    if (!IsNtlmNegotiate(login.sspi)) return true;
    tokens_.Sspi(NtlmChallenge(share_.backend->ServerName()));
    out_.EndMessage();
    const std::optional<Request> answer = reader_.Next();
    if (!answer || answer->type != PacketType::Sspi) return false;
    login.request.user = NtlmUser(answer->payload);
    return true;
}

bool Connection::LogIn(const LoginPacket& login) {
    // Until the acknowledgement names another, a client expects messages in the form of its own
    // version.
    tokens_.SetVersion(AskedFor(login.request.protocolVersion));
    login_ = login.request;
    try {
        session_ = share_.backend->Login(login_);
    } catch (const LoginRefused& refused) {
        tokens_.Say(refused.message);
        constexpr std::int32_t kNoSuchDatabase = 4060;
        if (refused.message.number == kNoSuchDatabase) {
            Message failed;
            failed.number = 18456;
            failed.severity = 14;
            failed.text = u"Login failed for user '" + login_.user + u"'.";
            tokens_.Say(failed);
        }
        tokens_.Done(Token::Done, done_status::Error, 0, 0);
        out_.EndMessage();
        return false;
    }
    sessionNumber_ = ++share_.sessions;
    share_.journal.Add({sessionNumber_, session_->Database(), u"", login_.user});

    const std::size_t asked = login_.packetSize == 0 ? kDefaultPacketSize : login_.packetSize;
    const std::size_t packetSize = std::clamp(asked, kSmallestPacket, kLargestPacket);
    WriteLoginResponse(packetSize);
    out_.SetPacketSize(packetSize);
    constexpr std::size_t kMostPackets = 65'536;
    reader_.SetLimit(kMostPackets * packetSize);
    return true;
}

void Connection::WriteLoginResponse(std::size_t packetSize) {
    constexpr std::u16string_view kLanguage = u"us_english";
    const std::u16string database = session_->Database();
    const std::string size = std::to_string(packetSize);
    tokens_.EnvironmentText(Environment::Database, database, u"master");
    tokens_.EnvironmentBytes(Environment::Collation, FactsOf(kServerCollation).WireBytes(), {});
    tokens_.EnvironmentText(Environment::Language, kLanguage, u"");
    tokens_.SetVersion(std::min(tokens_.Version(), NewestOf(share_.backend->Version())));
    tokens_.LoginAcknowledged(share_.backend->Version());
    tokens_.Say(Information(5701, u"Changed database context to '" + database + u"'."));
    tokens_.Say(Information(5703, u"Changed language setting to us_english."));
    tokens_.EnvironmentText(Environment::PacketSize, std::u16string(size.begin(), size.end()),
                            u"4096");
    tokens_.Done(Token::Done, 0, 0, 0);
    out_.EndMessage();
}

bool Connection::Serve(const Request& request) {
    if (request.ignore) return true;
    if (request.resetConnection) {
        session_.reset();
        session_ = share_.backend->Login(login_);
        prepared_.Clear();
        transaction_ = 0;
        tokens_.EnvironmentBytes(Environment::ResetConnection, {}, {});
    }
    switch (request.type) {
        case PacketType::SqlBatch:
            return ServeBatch(request.payload);
        case PacketType::Rpc:
            return ServeRpc(request.payload);
        case PacketType::TransactionManager:
            return ServeTransaction(request.payload);
        case PacketType::Attention:
            AcknowledgeAttention();
            return !out_.Broken();
        default:
            return false;
    }
}

bool Connection::ServeBatch(Bytes payload) {
    ByteReader reader(payload);
    SkipHeaders(reader, tokens_.Version());
    if (reader.Left() % 2 != 0) throw ProtocolError("half a character");
    Work work;
    work.batch = reader.Text(reader.Left() / 2);

    ResultWriter results(tokens_, watch_.Cancelled(), false);
    switch (Execute(work, results)) {
        case Outcome::Dropped:
            return false;
        case Outcome::Attention:
            results.End(false);
            return EndCancelled();
        case Outcome::Finished:
            break;
    }
    results.End(true);
    out_.EndMessage();
    return !out_.Broken();
}

Connection::Outcome Connection::Execute(const Work& work, ResultWriter& results) {
    share_.journal.Add({sessionNumber_, session_->Database(), work.batch, {}});
    const int depthBefore = session_->TransactionDepth();
    watch_.Begin();
    const bool alive = RunWithFaults(work, results);
    const bool attention = watch_.End();
    if (!alive) return Outcome::Dropped;
    ReportTransaction(depthBefore, work.ended);
    return attention ? Outcome::Attention : Outcome::Finished;
}

bool Connection::RunWithFaults(const Work& work, ResultWriter& results) {
    const std::vector<Fault> faults = share_.journal.Strike(work.batch);
    for (const Fault& fault : faults) {
        if (fault.kind == FaultKind::Delay) Wait(fault.delay);
    }
    const auto striking = std::ranges::find_if(
        faults, [](const Fault& fault) { return fault.kind != FaultKind::Delay; });
    if (striking == faults.end()) {
        RunSession(work, results);
        return true;
    }
    switch (striking->kind) {
        case FaultKind::Drop:
            return false;
        case FaultKind::Error:
            results.Say(striking->message);
            results.StatementDone(std::nullopt, false, true);
            return true;
        default:
            break;
    }
    FaultSink sink(results, *striking);
    RunSession(work, sink);
    sink.End();
    if (striking->kind == FaultKind::ErrorAfterRows) return true;
    out_.Flush();
    return false;
}

void Connection::RunSession(const Work& work, ResultSink& sink) {
    try {
        if (work.inScope) {
            session_->ExecuteInScope(work.batch, sink, watch_.Cancelled());
        } else {
            session_->Execute(work.batch, sink, watch_.Cancelled());
        }
    } catch (const std::exception& failure) {
        // A fault of the engine itself. The client learns of it as of any other error.
        Message message;
        message.number = 8630;
        message.severity = 17;
        message.text = u"Internal Query Processor Error: " + Wide(failure.what());
        sink.Say(message);
        sink.StatementDone(std::nullopt, false, true);
    }
}

void Connection::Wait(std::chrono::milliseconds delay) const {
    const auto end = std::chrono::steady_clock::now() + delay;
    while (!watch_.Cancelled() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Connection::ReportTransaction(int depthBefore, Environment ended) {
    if (tokens_.Version() < TdsVersion::V72) return;
    const bool before = depthBefore > 0;
    const bool now = session_->TransactionDepth() > 0;
    if (before == now) return;
    if (now) transaction_ = ++transactions_;
    std::array<std::uint8_t, sizeof transaction_> descriptor{};
    Put(descriptor.data(), transaction_);
    if (now) {
        tokens_.EnvironmentBytes(Environment::BeginTransaction, descriptor, {});
    } else {
        tokens_.EnvironmentBytes(ended, {}, descriptor);
        transaction_ = 0;
    }
}

void Connection::AcknowledgeAttention() {
    tokens_.Done(Token::Done, done_status::Attention, 0, 0);
    out_.EndMessage();
}

bool Connection::EndCancelled() {
    const std::optional<Request> attention = reader_.Next();
    if (!attention || attention->type != PacketType::Attention) return false;
    AcknowledgeAttention();
    return !out_.Broken();
}

}  // namespace sandbox::wire
