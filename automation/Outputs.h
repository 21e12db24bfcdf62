// Which outputs by reference an operation has set. What it sets to the value that was there before,
// Nothing over Nothing, cannot be told from the value alone.
#pragma once

#include <vector>

namespace QuillonLib::Automation {

// Hears of the outputs that are set on its thread while it lives, and no later one does.
class Outputs {
  public:
    Outputs() noexcept;
    Outputs(const Outputs&) = delete;
    Outputs& operator=(const Outputs&) = delete;
    ~Outputs();

    bool WasSet(const void* place) const noexcept;
    // For operations: `place` holds what they made for the caller. Nobody may be listening.
    static void NoteSet(const void* place);

  private:
    Outputs* outer_;
    std::vector<const void*> places_;
};

}  // namespace QuillonLib::Automation
