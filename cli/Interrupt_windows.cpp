#include "cli/Interrupt.h"

#include <io.h>
#include <windows.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

#include "cli/InterruptState.h"

namespace quillon {

namespace {

int SignalOf(DWORD event) {
    return event == CTRL_C_EVENT ? SIGINT : SIGTERM;
}

// The system ends the process as soon as its handler returns.
bool EndsTheProcess(DWORD event) {
    return event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT;
}

void Tell(std::string_view text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}

// Runs in a thread of its own.
BOOL WINAPI OnEvent(DWORD event) {
    if (!NoteInterrupt(SignalOf(event))) {
        RunLastActions();
        constexpr UINT EndedByCtrlC = 0xC000013A;
        TerminateProcess(GetCurrentProcess(), EndedByCtrlC);
    }
    Tell(
        "\r\nquillon: interrupted; ending as soon as everything is in order (once more: at "
        "once)\r\n");
    // The process ends by itself, or when the system's patience does.
    if (EndsTheProcess(event)) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

class InterruptWatch::Before {
  public:
    Before() { SetConsoleCtrlHandler(OnEvent, TRUE); }
    ~Before() { SetConsoleCtrlHandler(OnEvent, FALSE); }
    Before(const Before&) = delete;
    Before& operator=(const Before&) = delete;
};

// ExitProcess would wait for what the drivers' libraries do at their end.
void EndProcess(int exitCode) noexcept {
    RunLastActions();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort();  // not reached
}

InterruptWatch::InterruptWatch() {
    ForgetInterrupt();
    before_ = std::make_unique<Before>();
}

InterruptWatch::~InterruptWatch() {
    before_.reset();
    ForgetInterrupt();
}

// A pipe cannot be waited for: it is asked again and again. Anything else can be read at once.
void WaitForInput(int descriptor) {
    const auto input = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    constexpr DWORD Patience = 20;  // milliseconds
    for (;;) {
        StopIfInterrupted();
        if (GetFileType(input) != FILE_TYPE_PIPE) return;
        DWORD waiting = 0;
        if (!PeekNamedPipe(input, nullptr, 0, nullptr, &waiting, nullptr) || waiting > 0) return;
        Sleep(Patience);
    }
}

}  // namespace quillon
