// Writes statements as the batches of one transaction. Not installed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace QuillonLib {

// Every batch leaves its number with the session (CONTEXT_INFO), and the next one runs only where
// it finds that number and the transaction: a batch that the server refused to compile, which ends
// no transaction, is noticed like one that failed.
class BatchWriter {
  public:
    explicit BatchWriter(const std::function<void(std::u16string_view)>& out) : out_(out) {}

    // `comments`: lines of the head, of any text.
    void Begin(const std::vector<std::u16string>& comments);
    // One statement, or several that belong together, of whole lines without the last line end.
    void Add(std::u16string_view statements);
    // In a batch of its own.
    void AddAlone(std::u16string_view statement);
    // For variables, which have one name each in a batch.
    std::uint32_t NextName() { return ++names_; }
    // `cleanUp`: statements that run whatever has happened.
    void End(const std::vector<std::u16string>& cleanUp);

  private:
    std::u16string Mark() const;
    std::u16string Test(bool passes) const;
    void Line(std::u16string_view text);
    void CloseBatch();

    const std::function<void(std::u16string_view)>& out_;
    std::uint32_t batch_ = 0;
    std::uint32_t names_ = 0;
    std::size_t written_ = 0;  // of the open batch
    bool open_ = false;
};

}  // namespace QuillonLib
