#include "tests/windows/RemoteBackend.h"

#include <atomic>
#include <optional>

namespace sandbox::remote {

namespace {

// Plays the events of an answer back; stops where the client has gone.
void Play(Reader& from, ResultSink& sink) {
    std::size_t width = 0;
    bool going = true;
    for (Event event = from.Get<Event>(); event != Event::End; event = from.Get<Event>()) {
        switch (event) {
            case Event::Columns: {
                const auto columns = GetColumns(from);
                width = columns.size();
                if (going) sink.Columns(columns);
                break;
            }
            case Event::Row: {
                std::vector<Cell> cells(width);
                for (Cell& cell : cells)
                    cell = GetCell(from);
                going = going && sink.Row(cells.data());
                break;
            }
            case Event::StatementDone: {
                const bool counted = from.Get<bool>();
                const auto count = from.Get<std::int64_t>();
                const bool isSelect = from.Get<bool>();
                const bool error = from.Get<bool>();
                if (going)
                    sink.StatementDone(counted ? std::optional(count) : std::nullopt, isSelect,
                                       error);
                break;
            }
            case Event::Say: {
                const Message message = GetMessageOf(from);
                if (going) sink.Say(message);
                break;
            }
            case Event::DatabaseChanged: {
                const std::u16string old = from.Text();
                const std::u16string current = from.Text();
                if (going) sink.DatabaseChanged(old, current);
                break;
            }
            case Event::End:
                break;
        }
    }
}

class RemoteSession final : public Session {
  public:
    RemoteSession(RemoteBackend& backend, std::uint32_t number, Reader& state)
        : backend_(backend), number_(number) {
        ReadState(state);
    }
    ~RemoteSession() override {
        try {
            Writer question;
            backend_.Ask(std::move(question.Put(Callback::EndSession).Put(number_)));
        } catch (const std::exception&) {
            // The program has gone, and its sessions with it.
        }
    }
    RemoteSession(const RemoteSession&) = delete;
    RemoteSession& operator=(const RemoteSession&) = delete;

    void Execute(std::u16string_view batch, ResultSink& sink, const std::atomic<bool>&) override {
        Run(Callback::Execute, batch, sink);
    }
    void ExecuteInScope(std::u16string_view batch, ResultSink& sink,
                        const std::atomic<bool>&) override {
        Run(Callback::ExecuteInScope, batch, sink);
    }
    std::u16string Database() const override { return database_; }
    int TransactionDepth() const override { return depth_; }

  private:
    void Run(Callback how, std::u16string_view batch, ResultSink& sink) {
        Writer question;
        const MessageBytes answer =
            backend_.Ask(std::move(question.Put(how).Put(number_).Put(batch)));
        Reader from(answer);
        Play(from, sink);
        ReadState(from);
    }
    void ReadState(Reader& from) {
        database_ = from.Text();
        depth_ = from.Get<int>();
    }

    RemoteBackend& backend_;
    std::uint32_t number_;
    std::u16string database_;
    int depth_ = 0;
};

}  // namespace

MessageBytes RemoteBackend::Ask(Writer question) {
    const std::lock_guard lock(mutex_);
    callbacks_.Send(question.Take());
    auto answer = callbacks_.Receive();
    if (!answer) throw std::runtime_error("the test program has gone");
    return std::move(*answer);
}

std::unique_ptr<Session> RemoteBackend::Login(const LoginRequest& request) {
    Writer question;
    question.Put(Callback::Login);
    Put(question, request);
    const MessageBytes answer = Ask(std::move(question));
    Reader from(answer);
    if (!from.Get<bool>()) throw LoginRefused(GetMessageOf(from));
    const auto number = from.Get<std::uint32_t>();
    return std::make_unique<RemoteSession>(*this, number, from);
}

}  // namespace sandbox::remote
