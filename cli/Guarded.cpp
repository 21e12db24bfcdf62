#include "cli/Guarded.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "cli/Interrupt.h"
#include "cli/StatementLog.h"

namespace quillon {

namespace {

void EndPagerQuietly(Console& console) {
    try {
        console.EndPager();
    } catch (const std::exception&) {
        // There is something worse to tell.
    }
}

// What goes wrong is told when the pager is gone, on the terminal itself.
int RunAndShow(Console& console, const std::function<int()>& command) {
    int exitCode = Failed;
    try {
        exitCode = command();
        console.Flush();
    } catch (const OutputFailure&) {
        console.EndPager();  // which tells where it was never there to read
        throw;
    } catch (...) {
        EndPagerQuietly(console);
        throw;
    }
    console.EndPager();
    return exitCode;
}

int RunAndTell(Console& console, const std::function<int()>& command) {
    try {
        const int exitCode = RunAndShow(console, command);
        if (console.Log() != nullptr) console.Log()->RequireWhole();
        return exitCode;
    } catch (const OutputFailure& failure) {
        if (!failure.ReaderIsGone()) console.Note(std::string("quillon: ") + failure.what());
    } catch (const Interruption& interruption) {
        const std::string outcome = interruption.what();
        if (!outcome.empty()) console.Note("quillon: " + outcome);
    } catch (const std::bad_alloc&) {
        console.Note("quillon: there is not enough memory");
    } catch (const std::exception& error) {
        console.Note(std::string("quillon: ") + error.what());
    } catch (...) {
        console.Note("quillon: a failure of an unknown kind");
    }
    return Failed;
}

}  // namespace

int RunGuarded(Console& console, const std::function<int()>& command) noexcept {
    int exitCode = Failed;
    try {
        exitCode = RunAndTell(console, command);
    } catch (...) {
        // Not even the failure could be told.
        (void)std::fputs("quillon: there is not enough memory\n", stderr);
    }
    return Interrupted() ? InterruptExitCode() : exitCode;
}

}  // namespace quillon
