// A backend whose answers come from a test program on Windows, over its channel for callbacks.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "tests/windows/Messages.h"

namespace sandbox::remote {

class RemoteBackend final : public Backend {
  public:
    RemoteBackend(Channel callbacks, std::u16string name, std::string version)
        : callbacks_(std::move(callbacks)), name_(std::move(name)), version_(std::move(version)) {}

    std::unique_ptr<Session> Login(const LoginRequest& request) override;
    std::u16string ServerName() const override { return name_; }
    std::string Version() const override { return version_; }

    // One question at a time. Throws std::runtime_error when the program has gone.
    MessageBytes Ask(Writer question);

  private:
    std::mutex mutex_;
    Channel callbacks_;
    std::u16string name_;
    std::string version_;
};

}  // namespace sandbox::remote
