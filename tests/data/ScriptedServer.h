// A server whose answers are written by the test: the wire protocol of the sandbox without its
// engine, so that a test says what comes over the wire cell by cell.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "data/Connection.h"
#include "data/ConnectionString.h"
#include "data/Recordset.h"
#include "sandbox/Backend.h"
#include "sandbox/wire/WireServer.h"

namespace QuillonLib::test {

// ---- rows --------------------------------------------------------------------------------------

inline sandbox::SqlType Type(sandbox::TypeId id, int length = 0, int precision = 0, int scale = 0) {
    return {id, length, static_cast<std::uint8_t>(precision), static_cast<std::uint8_t>(scale)};
}

inline sandbox::ColumnInfo Column(std::u16string name, sandbox::SqlType type) {
    return {std::move(name), type, true, false, false};
}

inline sandbox::Cell NullCell() {
    return {};
}

inline sandbox::Cell IntegerCell(std::int64_t value) {
    sandbox::Cell cell;
    cell.null = false;
    cell.i = value;
    return cell;
}

inline sandbox::Cell FloatCell(double value) {
    sandbox::Cell cell;
    cell.null = false;
    cell.d = value;
    return cell;
}

inline sandbox::Cell DecimalCell(sandbox::Int128 scaled) {
    sandbox::Cell cell;
    cell.null = false;
    cell.big = scaled;
    return cell;
}

// The text or the bytes must outlive the cell.
inline sandbox::Cell DataCell(const void* data, std::size_t size) {
    sandbox::Cell cell;
    cell.null = false;
    cell.data = static_cast<const std::uint8_t*>(data);
    cell.size = size;
    return cell;
}

inline sandbox::Cell TextCell(std::u16string_view text) {
    return DataCell(text.data(), text.size() * sizeof(char16_t));
}

using Rows = std::vector<std::vector<sandbox::Cell>>;

inline void SendRows(sandbox::ResultSink& sink, const std::vector<sandbox::ColumnInfo>& columns,
                     const Rows& rows) {
    sink.Columns(columns);
    for (const auto& row : rows) {
        if (!sink.Row(row.data())) return;
    }
    sink.StatementDone(static_cast<std::int64_t>(rows.size()), true, false);
}

inline sandbox::Message ServerError(std::int32_t number, std::u16string text,
                                    std::uint8_t severity = 16) {
    sandbox::Message message;
    message.number = number;
    message.severity = severity;
    message.text = std::move(text);
    return message;
}

inline void SendError(sandbox::ResultSink& sink, std::int32_t number, std::u16string text,
                      std::uint8_t severity = 16) {
    sink.Say(ServerError(number, std::move(text), severity));
    sink.StatementDone(std::nullopt, false, true);
}

// ---- server ------------------------------------------------------------------------------------

class ScriptedServer : public sandbox::Backend {
  public:
    using Answer = std::function<void(sandbox::ResultSink&)>;

    ScriptedServer() { wire_.Serve(*this); }
    ~ScriptedServer() override { wire_.Kill(); }

    // How to answer the batch. A batch without an answer succeeds without a result.
    void On(std::u16string batch, Answer answer) {
        const std::lock_guard lock(mutex_);
        answers_[std::move(batch)] = std::move(answer);
    }

    sandbox::wire::WireServer& Wire() { return wire_; }

    // The batches that arrived, login entries left out.
    std::vector<std::u16string> Batches() const {
        std::vector<std::u16string> batches;
        for (const sandbox::LogEntry& entry : wire_.Log()) {
            if (!entry.batch.empty()) batches.push_back(entry.batch);
        }
        return batches;
    }

    std::u16string Address() const {
        const std::string port = std::to_string(wire_.Port());
        return u"127.0.0.1," + std::u16string(port.begin(), port.end());
    }

    std::u16string ConnectionString(std::u16string_view password = u"sandbox") const {
        return BuildConnectionString(Address(), u"master", false, u"sa", password);
    }

    std::shared_ptr<Connection> Connect() const {
        auto connection = std::make_shared<Connection>();
        connection->Open(ConnectionString());
        return connection;
    }

    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest& request) override {
        const std::lock_guard lock(mutex_);
        logins_.push_back(request);
        if (!request.integrated && (request.user != u"sa" || request.password != password_)) {
            throw sandbox::LoginRefused(
                ServerError(18456, u"Login failed for user '" + request.user + u"'.", 14));
        }
        return std::make_unique<ScriptedSession>(*this);
    }
    std::u16string ServerName() const override { return u"SCRIPTED"; }
    std::string Version() const override { return "10.50.6000"; }

    void Password(std::u16string password) {
        const std::lock_guard lock(mutex_);
        password_ = std::move(password);
    }
    std::vector<sandbox::LoginRequest> Logins() const {
        const std::lock_guard lock(mutex_);
        return logins_;
    }

  private:
    class ScriptedSession : public sandbox::Session {
      public:
        explicit ScriptedSession(ScriptedServer& server) : server_(server) {}
        void Execute(std::u16string_view batch, sandbox::ResultSink& sink,
                     const std::atomic<bool>&) override {
            const Answer answer = server_.AnswerTo(std::u16string(batch));
            if (answer) {
                answer(sink);
            } else {
                sink.StatementDone(std::nullopt, false, false);
            }
        }
        std::u16string Database() const override { return u"master"; }
        int TransactionDepth() const override { return 0; }

      private:
        ScriptedServer& server_;
    };

    Answer AnswerTo(const std::u16string& batch) const {
        const std::lock_guard lock(mutex_);
        const auto found = answers_.find(batch);
        return found == answers_.end() ? Answer() : found->second;
    }

    mutable std::mutex mutex_;
    std::map<std::u16string, Answer> answers_;
    std::u16string password_ = u"sandbox";
    std::vector<sandbox::LoginRequest> logins_;
    sandbox::wire::WireServer wire_;
};

}  // namespace QuillonLib::test
