// One client: login, then requests one after another until it goes away.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "../Backend.h"
#include "CancelWatch.h"
#include "Journal.h"
#include "Login.h"
#include "Packets.h"
#include "ResultWriter.h"
#include "Rpc.h"
#include "Socket.h"
#include "Tokens.h"

namespace sandbox::wire {

// What the connections of one server share.
struct ServerShare {
    Backend* backend = nullptr;
    Journal journal;
    std::atomic<int> sessions{0};
};

class Connection {
  public:
    Connection(Socket socket, ServerShare& share, int poller, std::uint64_t id);

    // Serves the client to the end. The body of the connection's thread.
    void Run();

    // From other threads.
    void Look() { watch_.Look(); }
    void Abort();

  private:
    // Each is false, or nothing, when the connection is over.
    std::optional<LoginPacket> ReceiveLogin();
    bool AnswerChallenge(LoginPacket& login);
    bool LogIn(const LoginPacket& login);
    void WriteLoginResponse(std::size_t packetSize);

    // Each answers one request. False: the connection is over.
    bool Serve(const Request& request);
    bool ServeBatch(Bytes payload);
    bool ServeRpc(Bytes payload);
    bool ServeTransaction(Bytes payload);
    void AcknowledgeAttention();

    struct Work {
        std::u16string batch;
        bool inScope = false;  // see Session::ExecuteInScope
        // How the client is told of a transaction that the batch ended.
        Environment ended = Environment::CommitTransaction;
    };
    // Runs `work`, logged and subject to faults; its results go to `results`.
    enum class Outcome { Finished, Attention, Dropped };
    Outcome Execute(const Work& work, ResultWriter& results);
    // False: a fault has dropped the connection.
    bool RunWithFaults(const Work& work, ResultWriter& results);
    void RunSession(const Work& work, ResultSink& sink);
    void Wait(std::chrono::milliseconds delay) const;
    void ReportTransaction(int depthBefore, Environment ended);
    // Ends the response to a cancelled request: reads the attention and acknowledges it.
    bool EndCancelled();

    bool Call(const RpcCall& call, bool last);
    // `handle`: what the procedure returns by its output parameter of that name.
    bool RunCall(const Work& work, std::optional<std::int32_t> handle, bool last);
    void EndCall(bool failed, std::optional<std::int32_t> handle, bool last);
    bool RefuseCall(const Message& message, bool last);

    Socket socket_;
    ServerShare& share_;
    CancelWatch watch_;
    RequestReader reader_;
    ResponseStream out_;
    TokenWriter tokens_;
    LoginRequest login_;
    std::unique_ptr<Session> session_;
    int sessionNumber_ = 0;
    std::uint64_t transaction_ = 0;  // the number of the open transaction, 0 without
    std::uint64_t transactions_ = 0;
    PreparedStatements prepared_;
};

}  // namespace sandbox::wire
