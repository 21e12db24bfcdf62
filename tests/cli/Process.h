// The program as the shell runs it: a process of its own, with its exit status, streams and
// signals.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace quillon {

// What the program says where it is interrupted in work that it ends in order.
inline constexpr const char* ToldOfInterrupt =
    "quillon: interrupted; ending as soon as everything is in order (once more: at once)\n";

// Where the streams of a process go. An empty path means a file in the folder of the test (for the
// input: /dev/null); "closed" that the process has no such stream; "fd:" and a number a file that
// the test has open.
struct Streams {
    std::string in;
    std::string out;
    std::string err;
    // Files that the process writes may grow to so many blocks of 512 bytes, as on a disk that is
    // full then. 0: to any size.
    int blocks = 0;
};

class Process {
  public:
    // `environment` goes on top of that of the test; an empty value takes the name out. ODBCSYSINI
    // is taken out, so that the process registers the driver itself, in TMPDIR. The process leads a
    // session, so that a terminal among its streams becomes its own.
    Process(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
            const Streams& streams = {},
            const std::map<std::string, std::string>& environment = {});
    // Kills it, if it still runs.
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Id() const { return pid_; }
    void Signal(int signal) const;
    // Wait until standard error, standard output holds a text; false when it does not come.
    bool Says(const std::string& text) const;
    bool Prints(const std::string& text) const;
    // Waits for the end: the exit code, or minus the signal that ended it.
    int Wait();
    // The files; complete after Wait.
    std::string Out() const;
    std::string Err() const;

  private:
    pid_t pid_ = -1;
    std::filesystem::path out_;
    std::filesystem::path err_;
};

// A terminal, and somebody who sits at it.
class Terminal {
  public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    const std::string& Path() const { return path_; }
    void Type(const std::string& keys) const;
    void Resize(unsigned short columns) const;
    bool Echoes() const;
    // Reads what is shown until it holds a text; false when that does not come. Everything that
    // was shown is in Shown().
    bool Shows(const std::string& text);
    const std::string& Shown() const { return shown_; }
    // Reads what is there already.
    void Drain();

  private:
    int person_ = -1;
    int line_ = -1;  // kept open, so that what was shown can still be read
    std::string path_;
    std::string shown_;
};

}  // namespace quillon
