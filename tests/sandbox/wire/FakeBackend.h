// A Backend whose answers are written in the test: batches are looked up by their text.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sandbox/Backend.h"

namespace sandbox::wire {

// What runs when a batch arrives.
using Script = std::function<void(ResultSink&, const std::atomic<bool>& cancelled)>;

class FakeBackend : public Backend {
  public:
    explicit FakeBackend(std::string version = "11.0.7001") : version_(std::move(version)) {}

    // Answers `batch`, from now on, with what `script` does. Not while clients are connected.
    void On(const std::u16string& batch, Script script) { scripts_[batch] = std::move(script); }

    std::unique_ptr<Session> Login(const LoginRequest& request) override;
    std::u16string ServerName() const override { return u"FAKE"; }
    std::string Version() const override { return version_; }

    // Thread-safe records.
    std::vector<LoginRequest> Logins() const;
    std::vector<std::u16string> Batches() const;
    std::vector<std::u16string> BatchesInScope() const;  // also among Batches()
    int Sessions() const { return sessions_; }

  private:
    friend class FakeSession;

    std::string version_;
    std::map<std::u16string, Script> scripts_;
    mutable std::mutex mutex_;
    std::vector<LoginRequest> logins_;
    std::vector<std::u16string> batches_;
    std::vector<std::u16string> batchesInScope_;
    std::atomic<int> sessions_{0};
};

inline Message Error(std::int32_t number, std::u16string text) {
    Message message;
    message.number = number;
    message.text = std::move(text);
    return message;
}

// Transactions by text, as much as the wire looks at; any other unknown batch is error 102.
class FakeSession : public Session {
  public:
    explicit FakeSession(FakeBackend& backend) : backend_(backend) { ++backend_.sessions_; }
    ~FakeSession() override { --backend_.sessions_; }

    void Execute(std::u16string_view batch, ResultSink& sink,
                 const std::atomic<bool>& cancelled) override {
        {
            const std::lock_guard lock(backend_.mutex_);
            backend_.batches_.emplace_back(batch);
        }
        if (batch.find(u"BEGIN TRAN") != std::u16string_view::npos) {
            ++depth_;
            sink.StatementDone(std::nullopt, false, false);
        } else if (batch.find(u"COMMIT") == 0 || batch.find(u"ROLLBACK") == 0) {
            depth_ = 0;
            sink.StatementDone(std::nullopt, false, false);
        } else if (batch.find(u"SET ") == 0) {
            sink.StatementDone(std::nullopt, false, false);
        } else if (const auto found = backend_.scripts_.find(std::u16string(batch));
                   found != backend_.scripts_.end()) {
            found->second(sink, cancelled);
        } else {
            sink.Say(Error(
                102, u"Incorrect syntax near '" + std::u16string(batch.substr(0, 20)) + u"'."));
        }
    }

    void ExecuteInScope(std::u16string_view batch, ResultSink& sink,
                        const std::atomic<bool>& cancelled) override {
        {
            const std::lock_guard lock(backend_.mutex_);
            backend_.batchesInScope_.emplace_back(batch);
        }
        Execute(batch, sink, cancelled);
    }

    std::u16string Database() const override { return u"master"; }
    int TransactionDepth() const override { return depth_; }

  private:
    FakeBackend& backend_;
    int depth_ = 0;
};

inline std::unique_ptr<Session> FakeBackend::Login(const LoginRequest& request) {
    const std::lock_guard lock(mutex_);
    logins_.push_back(request);
    Message refusal;
    refusal.severity = 14;
    if (!request.integrated && request.password != u"sandbox") {
        refusal.number = 18456;
        refusal.text = u"Login failed for user '" + request.user + u"'.";
        throw LoginRefused(refusal);
    }
    if (request.database == u"missing") {
        refusal.number = 4060;
        refusal.severity = 11;
        refusal.text =
            u"Cannot open database \"missing\" requested by the login. The login failed.";
        throw LoginRefused(refusal);
    }
    return std::make_unique<FakeSession>(*this);
}

inline std::vector<LoginRequest> FakeBackend::Logins() const {
    const std::lock_guard lock(mutex_);
    return logins_;
}

inline std::vector<std::u16string> FakeBackend::Batches() const {
    const std::lock_guard lock(mutex_);
    return batches_;
}

inline std::vector<std::u16string> FakeBackend::BatchesInScope() const {
    const std::lock_guard lock(mutex_);
    return batchesInScope_;
}

// Cells for the tests' rows.
inline Cell Null() {
    return {};
}

inline Cell Integer(std::int64_t value) {
    Cell cell;
    cell.null = false;
    cell.i = value;
    return cell;
}

inline Cell Number(double value) {
    Cell cell;
    cell.null = false;
    cell.d = value;
    return cell;
}

inline Cell Big(Int128 value) {
    Cell cell;
    cell.null = false;
    cell.big = value;
    return cell;
}

// `text` outlives the cell.
inline Cell Text(std::u16string_view text) {
    Cell cell;
    cell.null = false;
    cell.data = reinterpret_cast<const std::uint8_t*>(text.data());
    cell.size = text.size() * 2;
    return cell;
}

inline Cell Binary(std::string_view bytes) {
    Cell cell;
    cell.null = false;
    cell.data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    cell.size = bytes.size();
    return cell;
}

inline Cell WithOffset(Cell cell, std::int16_t minutes) {
    cell.offset = minutes;
    return cell;
}

inline Cell As(Cell cell, const SqlType& type) {
    cell.variantType = type;
    return cell;
}

inline ColumnInfo Column(std::u16string name, SqlType type) {
    ColumnInfo column;
    column.name = std::move(name);
    column.type = type;
    return column;
}

}  // namespace sandbox::wire
