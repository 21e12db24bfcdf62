#include "direct/ReadingPace.h"

#include <cmath>
#include <utility>

namespace QuillonLib {

namespace {

constexpr std::chrono::seconds Window{10};
constexpr std::chrono::milliseconds Apart{250};  // samples
constexpr std::chrono::duration<double> Shortest{1.0};

}  // namespace

ReadingPace::ReadingPace(std::function<Clock::time_point()> now) : now_(std::move(now)) {
    samples_.push_back({now_(), 0});
}

ReadingPace::Reading ReadingPace::At(std::uint64_t read, std::optional<std::uint64_t> expected) {
    const Clock::time_point now = now_();
    while (samples_.size() > 1 && now - samples_[1].time >= Window)
        samples_.pop_front();
    const Sample& oldest = samples_.front();
    const std::chrono::duration<double> time = now - oldest.time;
    Reading reading;
    if (time >= Shortest && read > oldest.read) {
        const double rate = static_cast<double>(read - oldest.read) / time.count();
        reading.rowsPerSecond = static_cast<std::uint64_t>(std::llround(rate));
        if (expected && *expected >= read) {
            const double seconds = static_cast<double>(*expected - read) / rate;
            reading.left = std::chrono::seconds(static_cast<std::int64_t>(std::ceil(seconds)));
        }
    }
    if (now - samples_.back().time >= Apart) samples_.push_back({now, read});
    return reading;
}

}  // namespace QuillonLib
