#include "cli/SyncEnding.h"

#include <exception>
#include <string>
#include <utility>

#include "QuillonLib.h"
#include "catalog/Login.h"
#include "cli/AbandonOnInterrupt.h"
#include "cli/Interrupt.h"
#include "cli/Verdict.h"

namespace quillon {

using QuillonLib::ToUtf8;

namespace {

constexpr const char* CommittedAndInterrupted =
    "the transaction was committed; the comparison after it was interrupted";
constexpr const char* UnknownAndInterrupted =
    "whether the transaction was committed is not known; the comparison after it was interrupted";

}  // namespace

std::shared_ptr<QuillonLib::Connection> LogInToChange(const QuillonLib::Database& target) {
    const AbandonOnInterrupt silent;
    return QuillonLib::OpenConnection(target);
}

bool NothingToDo(int exitCode, Console& console) {
    if (exitCode == ExitCode::Identical) console.Print("Nothing to do.");
    if (exitCode == ExitCode::NotWhole) {
        console.Print("No difference was found: nothing to do.");
    }
    return exitCode == ExitCode::Identical || exitCode == ExitCode::NotWhole;
}

SyncEnding::SyncEnding(const QuillonLib::Database& target, std::uint64_t rows, Console& console,
                       std::function<int()> compareAgain)
    : target_(ToUtf8(target.Server() + u"/" + target.DatabaseName())),
      rows_(rows),
      console_(console),
      compareAgain_(std::move(compareAgain)) {
}

bool SyncEnding::MayChange(bool yes) const {
    if (yes) return true;
    if (console_.Confirm("Change " + std::to_string(rows_) + " rows in " + target_ + "?")) {
        return true;
    }
    console_.Note("quillon: nothing was changed (say yes, or use --yes)");
    return false;
}

int SyncEnding::EndDryRun() const {
    console_.Print("A dry run: nothing was changed in " + target_ + ".");
    return ExitCode::Different;
}

int SyncEnding::Committed(const std::string& pace) const {
    console_.Print();
    console_.Print("Committed " + std::to_string(rows_) + " changes in " + target_ + pace +
                   ". Compared again:");
    console_.Print();
    console_.Flush();
    const OutcomeSoFar committed(CommittedAndInterrupted);
    try {
        return compareAgain_();
    } catch (const Interruption&) {
        throw Interruption(CommittedAndInterrupted);
    }
}

int SyncEnding::LookAgain(const OutcomeUnknown& unknown) const {
    console_.Note("quillon: the connection to " + target_ +
                  " ended while the transaction was being committed. Whether the server has "
                  "committed it is not known:\n" +
                  unknown.what());
    console_.Note("quillon: comparing again to find out");
    const OutcomeSoFar notKnown(UnknownAndInterrupted);
    try {
        const int found = compareAgain_();
        if (found == ExitCode::Identical) {
            console_.Note("quillon: the databases are identical now");
            return ExitCode::Identical;
        }
        console_.Note(found == ExitCode::Different ? "quillon: the databases differ as shown"
                      : found == ExitCode::NotWhole
                          ? "quillon: no difference was found now, but not everything was compared"
                          : "quillon: not every table could be compared");
    } catch (const Interruption&) {
        throw Interruption(UnknownAndInterrupted);
    } catch (const std::exception& error) {
        console_.Note(std::string("quillon: comparing again failed: ") + error.what());
    }
    console_.Note("quillon: whether the transaction was committed is still not known");
    return ExitCode::Failed;
}

}  // namespace quillon
