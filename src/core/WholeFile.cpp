#include "core/WholeFile.h"

#include <string>
#include <utility>

#include "core/Error.h"
#include "core/SystemError.h"
#include "core/SystemFiles.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t ChunkSize = 1 << 20;

// For people: a name that is not valid UTF-8 is no reason for another failure.
std::u16string NameOf(const fs::path& path) {
    const std::u8string name = path.u8string();
    return FromUtf8({reinterpret_cast<const char*>(name.data()), name.size()});
}

[[noreturn]] void Fail(const fs::path& path, std::u16string_view cause) {
    throw Error(ErrorNumber::FileAccess,
                u"Cannot write the file '" + NameOf(path) + u"': " + std::u16string(cause));
}

// Why nothing can take the name of what is there.
std::error_code HindranceOf(const fs::file_status& old) {
    if (fs::is_directory(old)) return std::make_error_code(std::errc::is_a_directory);
    if (fs::exists(old) && (old.permissions() & fs::perms::owner_write) == fs::perms::none) {
        return std::make_error_code(std::errc::permission_denied);
    }
    return {};
}

}  // namespace

WholeFile::WholeFile(const fs::path& path, FileOperations& files)
    : path_(path), files_(files), target_(BehindLinks(path)) {
    if (IsSpecial(path)) Fail(path, u"it is no regular file");
    std::error_code failure;
    old_ = fs::status(target_, failure);
    Require(HindranceOf(old_));
    temporary_ = target_;
    temporary_ += "." + std::to_string(ProcessNumber()) + ".new";
    failure.clear();
    file_ = files.Create(temporary_, failure);
    Require(failure);
    created_ = true;
}

WholeFile::~WholeFile() {
    file_.reset();
    if (created_) files_.Remove(temporary_);
    ForgetOld();
}

void WholeFile::Require(std::error_code result) const {
    if (result) Fail(path_, TextOf(result));
}

void WholeFile::Write(std::string_view bytes) {
    for (std::size_t at = 0; at < bytes.size(); at += ChunkSize)
        Require(file_->Write(bytes.substr(at, ChunkSize)));
}

void WholeFile::Finish() {
    Store();
    TakeName();
}

void WholeFile::Store() {
    Require(file_->Sync());
    Require(file_->Close());
    std::error_code failure;
    if (fs::exists(old_)) fs::permissions(temporary_, old_.permissions(), failure);
    Require(failure);
}

void WholeFile::TakeName() {
    Require(files_.Rename(temporary_, target_));
    created_ = false;
}

// Where the place has no second names, the file cannot be restored.
void WholeFile::KeepOld() {
    if (!fs::exists(old_)) return;
    fs::path name = target_;
    name += "." + std::to_string(ProcessNumber()) + ".old";
    if (!files_.Link(target_, name)) kept_ = std::move(name);
}

bool WholeFile::RestoreOld() {
    if (fs::exists(old_)) {
        if (kept_.empty() || files_.Rename(kept_, target_)) return false;
        kept_.clear();
        return true;
    }
    files_.Remove(target_);
    std::error_code failure;
    return !fs::exists(target_, failure) && !failure;
}

void WholeFile::ForgetOld() noexcept {
    if (!kept_.empty()) files_.Remove(kept_);
    kept_.clear();
}

void FinishTogether(const std::vector<WholeFile*>& files) {
    for (WholeFile* file : files)
        file->Store();
    for (std::size_t i = 0; i < files.size(); ++i) {
        try {
            if (i + 1 < files.size()) files[i]->KeepOld();
            files[i]->TakeName();
        } catch (const Error& error) {
            std::u16string text = error.Description();
            for (std::size_t before = 0; before < i; ++before) {
                if (files[before]->RestoreOld()) continue;
                text += u"; '" + NameOf(files[before]->path_) + u"' is written, and stays";
            }
            throw Error(ErrorNumber::FileAccess, text);
        }
    }
    for (WholeFile* file : files)
        file->ForgetOld();
}

void WriteWholeFile(const std::filesystem::path& path, std::string_view bytes,
                    FileOperations& files) {
    WholeFile file(path, files);
    file.Write(bytes);
    file.Finish();
}

}  // namespace QuillonLib
