// A system on which writing fails at a chosen place.
#pragma once

#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include "core/WholeFile.h"

namespace QuillonLib::test {

// The real calls, the n-th of which fails.
class FailingFiles final : public FileOperations {
  public:
    std::unique_ptr<File> Create(const std::filesystem::path& path,
                                 std::error_code& failure) override {
        if ((failure = Fail())) return nullptr;
        auto file = SystemFiles().Create(path, failure);
        if (!file) return nullptr;
        return std::make_unique<FailingFile>(*this, std::move(file));
    }
    std::error_code Rename(const std::filesystem::path& from,
                           const std::filesystem::path& to) override {
        if (const std::error_code failure = Fail()) return failure;
        return SystemFiles().Rename(from, to);
    }
    std::error_code Link(const std::filesystem::path& file,
                         const std::filesystem::path& name) override {
        if (const std::error_code failure = Fail()) return failure;
        return SystemFiles().Link(file, name);
    }
    void Remove(const std::filesystem::path& path) noexcept override { SystemFiles().Remove(path); }

    int callsLeft = -1;     // before the one that fails; below zero none does
    int callsThatFail = 1;  // that one, and those behind it
    int calls = 0;          // that were made

  private:
    class FailingFile final : public File {
      public:
        FailingFile(FailingFiles& files, std::unique_ptr<File> file)
            : files_(files), file_(std::move(file)) {}
        std::error_code Write(std::string_view bytes) override {
            if (const std::error_code failure = files_.Fail()) {
                (void)file_->Write(bytes.substr(0, bytes.size() / 2));  // a full disk takes a part
                return failure;
            }
            return file_->Write(bytes);
        }
        std::error_code Sync() override {
            const std::error_code failure = files_.Fail();
            return failure ? failure : file_->Sync();
        }
        std::error_code Close() override {
            const std::error_code failure = files_.Fail();
            return failure ? failure : file_->Close();
        }

      private:
        FailingFiles& files_;
        std::unique_ptr<File> file_;
    };

    std::error_code Fail() {
        ++calls;
        if (callsLeft < 0 || callsLeft-- > 0) return {};
        callsLeft = --callsThatFail > 0 ? 0 : -1;
        return std::make_error_code(std::errc::no_space_on_device);
    }
};

}  // namespace QuillonLib::test
