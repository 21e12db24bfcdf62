// The sandbox's engine as the backend of a ServerProcess.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/Text.h"
#include "sandbox/Engine.h"

namespace bench {

class EngineServer : public sandbox::Backend {
  public:
    EngineServer() : engine_(host_.AddServer({})) {}

    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest& request) override {
        return engine_->Login(request);
    }
    std::u16string ServerName() const override { return engine_->ServerName(); }
    std::string Version() const override { return engine_->Version(); }

  protected:
    // Runs one batch as sa; throws std::runtime_error with the server's message.
    void Run(const std::u16string& batch) {
        Quiet sink;
        const std::atomic<bool> cancelled{false};
        engine_->Login({u"sa", u"sandbox", false, {}, {}, {}})->Execute(batch, sink, cancelled);
    }

  private:
    class Quiet : public sandbox::ResultSink {
      public:
        void Columns(const std::vector<sandbox::ColumnInfo>&) override {}
        bool Row(const sandbox::Cell*) override { return true; }
        void StatementDone(std::optional<std::int64_t>, bool, bool) override {}
        void Say(const sandbox::Message& message) override {
            if (message.severity > 10) throw std::runtime_error(QuillonLib::ToUtf8(message.text));
        }
        void DatabaseChanged(const std::u16string&, const std::u16string&) override {}
    };

    sandbox::EngineHost host_;
    std::unique_ptr<sandbox::Backend> engine_;
};

}  // namespace bench
