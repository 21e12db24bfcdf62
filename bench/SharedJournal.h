// What a server process was asked, for the process that asked it.
#pragma once

#include <sys/mman.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "EngineServer.h"

namespace bench {

// Batches in memory that processes share. Make it before the server process.
class SharedJournal {
  public:
    struct Entry {
        int session = 0;  // 1, 2, 3 ... in the order of logins
        std::u16string batch;
    };

    SharedJournal() {
        void* const memory = mmap(nullptr, sizeof(Pages), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        pages_ = new (memory) Pages;
    }
    ~SharedJournal() { munmap(pages_, sizeof(Pages)); }
    SharedJournal(const SharedJournal&) = delete;
    SharedJournal& operator=(const SharedJournal&) = delete;

    int Login() { return ++pages_->logins; }
    // Only while it is on.
    void Add(int session, std::u16string_view batch) {
        if (!pages_->on) return;
        const std::size_t units = HeadUnits + batch.size();
        const std::size_t at = pages_->used.fetch_add(units);
        if (at + units > Units) throw std::runtime_error("the journal is full");
        const std::int32_t head[] = {session, static_cast<std::int32_t>(batch.size())};
        std::memcpy(pages_->units + at, head, sizeof head);
        std::memcpy(pages_->units + at + HeadUnits, batch.data(), batch.size() * sizeof(char16_t));
    }

    void Begin() { pages_->on = true; }
    // Ends it too. Call it when no batch is under way.
    std::vector<Entry> Entries() {
        pages_->on = false;
        std::vector<Entry> entries;
        for (std::size_t at = 0; at < pages_->used;) {
            std::int32_t head[2];
            std::memcpy(head, pages_->units + at, sizeof head);
            at += HeadUnits;
            entries.push_back({head[0], {pages_->units + at, static_cast<std::size_t>(head[1])}});
            at += static_cast<std::size_t>(head[1]);
        }
        return entries;
    }

  private:
    static constexpr std::size_t Units = std::size_t{64} << 20;
    static constexpr std::size_t HeadUnits = 2 * sizeof(std::int32_t) / sizeof(char16_t);
    struct Pages {
        std::atomic<bool> on{false};
        std::atomic<int> logins{0};
        std::atomic<std::size_t> used{0};
        char16_t units[Units];
    };
    Pages* pages_;
};

// An engine that notes every batch in a journal.
class JournalServer : public EngineServer {
  public:
    explicit JournalServer(SharedJournal& journal) : journal_(journal) {}

    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest& request) override {
        return std::make_unique<NotedSession>(EngineServer::Login(request), journal_);
    }

  private:
    class NotedSession : public sandbox::Session {
      public:
        NotedSession(std::unique_ptr<sandbox::Session> engine, SharedJournal& journal)
            : engine_(std::move(engine)), journal_(journal), number_(journal.Login()) {}

        void Execute(std::u16string_view batch, sandbox::ResultSink& sink,
                     const std::atomic<bool>& cancelled) override {
            journal_.Add(number_, batch);
            engine_->Execute(batch, sink, cancelled);
        }
        void ExecuteInScope(std::u16string_view batch, sandbox::ResultSink& sink,
                            const std::atomic<bool>& cancelled) override {
            journal_.Add(number_, batch);
            engine_->ExecuteInScope(batch, sink, cancelled);
        }
        std::u16string Database() const override { return engine_->Database(); }
        int TransactionDepth() const override { return engine_->TransactionDepth(); }

      private:
        std::unique_ptr<sandbox::Session> engine_;
        SharedJournal& journal_;
        int number_;
    };

    SharedJournal& journal_;
};

}  // namespace bench
