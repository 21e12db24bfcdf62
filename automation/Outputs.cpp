#include "automation/Outputs.h"

#include <algorithm>
#include <utility>

namespace QuillonLib::Automation {

namespace {

thread_local Outputs* innermost = nullptr;

}  // namespace

Outputs::Outputs() noexcept : outer_(std::exchange(innermost, this)) {
}

Outputs::~Outputs() {
    innermost = outer_;
}

bool Outputs::WasSet(const void* place) const noexcept {
    return std::find(places_.begin(), places_.end(), place) != places_.end();
}

void Outputs::NoteSet(const void* place) {
    if (innermost != nullptr) innermost->places_.push_back(place);
}

}  // namespace QuillonLib::Automation
