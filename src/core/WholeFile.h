// Writes a file whole or not at all.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace QuillonLib {

// The calls to the system that writing takes, so that a test can make any of them fail.
class FileOperations {
  public:
    // An open file; null never occurs.
    class File {
      public:
        virtual ~File() = default;  // closes, whatever the result
        virtual std::error_code Write(std::string_view bytes) = 0;
        virtual std::error_code Sync() = 0;
        virtual std::error_code Close() = 0;
    };

    virtual ~FileOperations() = default;
    // A new file; fails where one of that name exists.
    virtual std::unique_ptr<File> Create(const std::filesystem::path& path,
                                         std::error_code& failure) = 0;
    virtual std::error_code Rename(const std::filesystem::path& from,
                                   const std::filesystem::path& to) = 0;
    // Another name for a file; fails where one of that name exists, or the place has no such names.
    virtual std::error_code Link(const std::filesystem::path& file,
                                 const std::filesystem::path& name) = 0;
    virtual void Remove(const std::filesystem::path& path) noexcept = 0;
};

FileOperations& SystemFiles();

// A file that comes piece by piece. It is written beside the file of its name and takes that name
// at the end: whatever fails, the file is the old one or the new one. Its permissions stay; a
// symbolic link stays a link.
//
// Each operation throws Error 75, which names the file and the cause. What is there and no regular
// file, such as a device, is one.
class WholeFile {
  public:
    explicit WholeFile(const std::filesystem::path& path, FileOperations& files = SystemFiles());
    // Takes away what was written, unless Finish has been called.
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    void Write(std::string_view bytes);
    // The last call.
    void Finish();

  private:
    friend void FinishTogether(const std::vector<WholeFile*>& files);

    void Require(std::error_code result) const;
    // The steps of Finish, the second of which can be taken back.
    void Store();
    void TakeName();
    void KeepOld();
    bool RestoreOld();
    void ForgetOld() noexcept;

    std::filesystem::path path_;
    FileOperations& files_;
    std::filesystem::path target_;
    std::filesystem::file_status old_;
    std::filesystem::path temporary_;
    std::filesystem::path kept_;  // another name of the old file; empty: there is none
    std::unique_ptr<FileOperations::File> file_;
    bool created_ = false;
};

// Finishes several files: all of them take their names, or none does. Throws Error 75 of the one
// that cannot; where another can then not be made what it was, it is named behind the cause.
void FinishTogether(const std::vector<WholeFile*>& files);

// A WholeFile of one piece.
void WriteWholeFile(const std::filesystem::path& path, std::string_view bytes,
                    FileOperations& files = SystemFiles());

}  // namespace QuillonLib
