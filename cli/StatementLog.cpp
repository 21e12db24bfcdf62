#include "cli/StatementLog.h"

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "cli/CompareResults.h"
#include "cli/Paths.h"
#include "cli/Printable.h"
#include "core/Text.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// Of a batch on a terminal. A file gets all of it.
constexpr std::size_t MaxShown = 2000;

std::string Seconds(std::chrono::nanoseconds time) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.3f s", std::chrono::duration<double>(time).count());
    return text;
}

std::string Cut(const std::string& line) {
    if (line.size() <= MaxShown) return line;
    std::size_t end = MaxShown;
    while ((static_cast<unsigned char>(line[end]) & 0xC0) == 0x80)
        --end;  // not within a character
    return line.substr(0, end) + "... (" + std::to_string(line.size()) + " bytes)";
}

// What one database's connections do.
class DatabaseListener : public StatementListener {
  public:
    DatabaseListener(std::shared_ptr<StatementLog> log, std::string database, std::string login)
        : log_(std::move(log)), database_(std::move(database)), login_(std::move(login)) {}

    std::uint64_t LogsIn() noexcept override { return log_->Begin(database_, login_); }
    std::uint64_t Sends(std::u16string_view batch) noexcept override {
        try {
            return log_->Begin(database_, ToUtf8(batch));
        } catch (const std::exception&) {
            return log_->Begin(database_, "(too long to be shown)");
        }
    }
    void Ends(std::uint64_t number, std::chrono::nanoseconds time,
              std::u16string_view error) noexcept override {
        try {
            log_->End(number, database_,
                      error.empty() ? Seconds(time)
                                    : "failed after " + Seconds(time) + ": " + ToUtf8(error));
        } catch (const std::exception&) {
            log_->End(number, database_, "ended");
        }
    }

  private:
    std::shared_ptr<StatementLog> log_;
    std::string database_;
    std::string login_;
};

}  // namespace

StatementLog::StatementLog(const std::string& file, bool shown, Console& console)
    : name_(file), shown_(shown), console_(console) {
    if (file.empty()) return;
    file_ = OpenToAppend(file);
    if (file_ == nullptr) {
        throw std::runtime_error("cannot write the log " + file + ": " +
                                 std::generic_category().message(errno));
    }
}

StatementLog::~StatementLog() {
    if (file_ != nullptr) (void)std::fclose(file_);
}

void StatementLog::ListenTo(Database& database, const std::string& encryption) {
    const std::string who =
        database.NTSecurity() ? "the integrated login" : ToUtf8(database.Username());
    database.Listener(
        std::make_shared<DatabaseListener>(shared_from_this(), ToUtf8(database.Description()),
                                           "logging in as " + who + "; encrypted: " + encryption));
}

std::uint64_t StatementLog::Begin(const std::string& database, std::string_view what) noexcept {
    const std::lock_guard lock(mutex_);
    ++last_;
    Write(last_, database, what);
    return last_;
}

void StatementLog::End(std::uint64_t number, const std::string& database,
                       std::string_view outcome) noexcept {
    const std::lock_guard lock(mutex_);
    Write(number, database, outcome);
}

// Never fails a comparison: what could not be written is told when the command ends.
void StatementLog::Write(std::uint64_t number, const std::string& database,
                         std::string_view what) noexcept {
    try {
        const std::string begin = UtcText(std::chrono::system_clock::now()) + " #" +
                                  std::to_string(number) + " " + Printable(database) + ": ";
        const std::string line = Printable(what);
        if (shown_) console_.NoteFromAnyThread(begin + Cut(line));
        if (file_ == nullptr || failure_) return;
        const std::string whole = begin + line + '\n';
        errno = 0;
        const bool written = std::fwrite(whole.data(), 1, whole.size(), file_) == whole.size();
        if (std::fflush(file_) == 0 && written) return;
        failure_ = {errno == 0 ? EIO : errno, std::generic_category()};
    } catch (const std::exception&) {
        failure_ = std::make_error_code(std::errc::not_enough_memory);
    }
}

void StatementLog::RequireWhole() const {
    const std::lock_guard lock(mutex_);
    if (!failure_) return;
    throw std::runtime_error("the log " + name_ + " is not whole: " + failure_.message());
}

}  // namespace quillon
