#include "scripts/TextRun.h"

#include <algorithm>
#include <cstring>

namespace QuillonLib {

namespace {

// Pieces double in size. The largest are big enough for the allocator to take from, and give back
// to, the system by themselves.
constexpr std::size_t SmallestPiece = 1024;
constexpr std::size_t LargestPiece = (34U << 20U) / sizeof(char16_t);

}  // namespace

void TextRun::AddPiece(std::size_t atLeast) {
    const std::size_t doubled = pieces_.empty() ? SmallestPiece : 2 * pieces_.back().capacity;
    const std::size_t capacity = std::max(atLeast, std::min(doubled, LargestPiece));
    // not make_unique, which would write to memory that may never be used
    pieces_.push_back({std::unique_ptr<char16_t[]>(new char16_t[capacity]), 0, capacity});
}

void TextRun::Append(std::u16string_view text) {
    if (text.empty()) return;
    if (pieces_.empty() || pieces_.back().capacity - pieces_.back().size < text.size()) {
        AddPiece(text.size());
    }
    Piece& piece = pieces_.back();
    std::memcpy(piece.units.get() + piece.size, text.data(), text.size() * sizeof(char16_t));
    piece.size += text.size();
    size_ += text.size();
}

void TextRun::MoveTo(std::u16string& out) {
    for (Piece& piece : pieces_) {
        out.append(piece.units.get(), piece.size);
        piece.units.reset();
    }
    pieces_.clear();
    size_ = 0;
}

}  // namespace QuillonLib
