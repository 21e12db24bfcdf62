#include "cli/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "cli/Guarded.h"

namespace quillon {

void SecureStandardStreams() noexcept {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
        // The lowest number that is free: this one. Open for what it is not used for.
        (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
}

int CloseStandardOutput(int exitCode) noexcept {
    if (close(STDOUT_FILENO) == 0) return exitCode;
    (void)std::fprintf(stderr, "quillon: cannot write to standard output: %s\n",
                       std::strerror(errno));
    return Failed;
}

}  // namespace quillon
