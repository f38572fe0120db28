#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace coredata {

// A text that is described once, as a function that gives its pieces in their order, and is then
// either made or only compared with another. Whether a file says what it should is asked at every
// opening, and a comparison makes nothing.

/// Takes the pieces of a text and puts them together.
class TextMaker {
 public:
  void operator()(std::string_view piece) { text_ += piece; }
  [[nodiscard]] std::string take() && { return std::move(text_); }

 private:
  std::string text_;
};

/// Takes the pieces of a text and compares them with another, of which nothing is copied.
class TextMatcher {
 public:
  explicit TextMatcher(std::string_view other) noexcept : rest_(other) {}

  void operator()(std::string_view piece) noexcept {
    matches_ = matches_ && rest_.starts_with(piece);
    if (matches_) rest_.remove_prefix(piece.size());
  }
  [[nodiscard]] bool isWhole() const noexcept { return matches_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool matches_ = true;
};

/// The text whose pieces `give` hands to what it is called with.
template <typename Give>
[[nodiscard]] std::string textOf(Give&& give) {
  TextMaker text;
  give(text);
  return std::move(text).take();
}

/// Whether `other` is that text.
template <typename Give>
[[nodiscard]] bool isText(std::string_view other, Give&& give) {
  TextMatcher text(other);
  give(text);
  return text.isWhole();
}

}  // namespace coredata
