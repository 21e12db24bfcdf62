#include "cli/ScriptFile.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "cli/Interrupt.h"
#include "cli/Paths.h"
#include "core/Text.h"

namespace quillon {

namespace {

constexpr std::size_t PieceSize = std::size_t{1} << 20;

class ToFile : public ScriptSink {
  public:
    ToFile(const std::string& file, ScriptEncoding encoding, Console& console)
        : name_(file), encoding_(encoding), console_(console), file_(PathOf(file)) {
        file_.Write(MarkOf(encoding));
    }
    void Write(std::u16string_view piece) override {
        bytes_ += EncodeScript(piece, encoding_);
        if (bytes_.size() >= PieceSize) WriteOut();
    }

  protected:
    void Complete(std::vector<QuillonLib::WholeFile*>& files) override {
        WriteOut();
        files.push_back(&file_);
    }
    void Tell() override { console_.Hint("Written: " + name_); }

  private:
    void WriteOut() {
        StopIfInterrupted();
        file_.Write(bytes_);
        bytes_.clear();
    }

    std::string name_;
    ScriptEncoding encoding_;
    Console& console_;
    QuillonLib::WholeFile file_;
    std::string bytes_;
};

// In a temporary file until it is whole: whoever reads standard output may run what comes.
class ToOutput : public ScriptSink {
  public:
    ToOutput(ScriptEncoding encoding, Console& console) : encoding_(encoding), console_(console) {}

    void Write(std::u16string_view piece) override {
        bytes_ += EncodeScript(piece, encoding_);
        if (bytes_.size() >= PieceSize) Spill();
    }

  protected:
    void Complete(std::vector<QuillonLib::WholeFile*>& /*files*/) override {
        Spill();
        for (std::uint64_t at = 0; at < size_; at += bytes_.size()) {
            StopIfInterrupted();
            bytes_.resize(std::min<std::uint64_t>(size_ - at, PieceSize));
            file_.Read(at, bytes_.data(), bytes_.size());
            console_.PrintData(bytes_);
        }
    }

  private:
    void Spill() {
        StopIfInterrupted();
        file_.Append(bytes_);
        size_ += bytes_.size();
        bytes_.clear();
    }

    ScriptEncoding encoding_;
    Console& console_;
    QuillonLib::SpillFile file_;
    std::uint64_t size_ = 0;
    std::string bytes_;
};

}  // namespace

std::string MarkOf(ScriptEncoding encoding) {
    return encoding == ScriptEncoding::Utf16 ? "\xFF\xFE" : "\xEF\xBB\xBF";
}

std::string EncodeScript(std::u16string_view piece, ScriptEncoding encoding) {
    if (encoding == ScriptEncoding::Utf16) {
        std::string bytes;
        bytes.reserve(2 * piece.size());
        for (const char16_t unit : piece) {
            bytes += static_cast<char>(unit & 0xFF);
            bytes += static_cast<char>(unit >> 8);
        }
        return bytes;
    }
    if (!QuillonLib::IsUtf16(piece)) {
        throw std::runtime_error(
            "the data holds half a surrogate pair, which UTF-8 cannot carry; use --encoding utf16");
    }
    return QuillonLib::ToUtf8(piece);
}

std::string WithSide(const std::string& file, int side) {
    const std::filesystem::path path = PathOf(file);
    std::filesystem::path name = path.stem();
    name += "." + std::to_string(side);
    name += path.extension();
    return NameOf(path.parent_path() / name);
}

std::unique_ptr<ScriptSink> ScriptSink::Open(const std::string& file, ScriptEncoding encoding,
                                             Console& console) {
    if (file == "-") return std::make_unique<ToOutput>(encoding, console);
    return std::make_unique<ToFile>(file, encoding, console);
}

void ScriptSink::FinishAll(const std::vector<std::unique_ptr<ScriptSink>>& sinks) {
    std::vector<QuillonLib::WholeFile*> files;
    for (const auto& sink : sinks)
        sink->Complete(files);
    QuillonLib::FinishTogether(files);
    for (const auto& sink : sinks)
        sink->Tell();
}

}  // namespace quillon
