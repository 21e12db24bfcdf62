// A long text that grows in pieces and is moved, not copied whole, into its place. Not installed.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QuillonLib {

// A script is put together from runs of lines of hundreds of megabytes. One string for each would
// be copied whenever it grows and stand in memory twice when it is placed; here nothing is copied
// on the way, and each piece is given back as soon as it has been placed.
class TextRun {
  public:
    bool empty() const { return size_ == 0; }
    std::size_t size() const { return size_; }

    void Append(std::u16string_view text);

    // Appends all of it to `out` and is empty afterwards.
    void MoveTo(std::u16string& out);

  private:
    struct Piece {
        std::unique_ptr<char16_t[]> units;
        std::size_t size = 0;
        std::size_t capacity = 0;
    };
    void AddPiece(std::size_t atLeast);

    std::vector<Piece> pieces_;
    std::size_t size_ = 0;
};

}  // namespace QuillonLib
