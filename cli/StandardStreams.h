// The standard streams at the two ends of the process.
#pragma once

namespace quillon {

// A stream that the process was started without gives an error when it is used: its number would go
// to the next file or connection that is opened, and be written to. A pipe without a reader and a
// file that has grown to its limit give one, too, and no signal.
void SecureStandardStreams() noexcept;

// Some file systems tell only now that what was written did not get there. Returns the exit code, 2
// when it was so.
int CloseStandardOutput(int exitCode) noexcept;

}  // namespace quillon
