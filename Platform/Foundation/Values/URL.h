#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace foundation {

/// A uniform resource locator: the address of a file, or an identifier of the same form. Immutable;
/// equality, order and hash follow the text.
///
/// That a text parses says little: "abc" and "/x" are references without a scheme, and are URLs.
/// Whoever expects a certain kind looks at the scheme.
class URL {
 public:
  /// The longest text that parses: a path of the system's greatest length, every byte of it
  /// escaped, still fits.
  static constexpr std::size_t kMaximumLength = 16 * 1024;

  /// A URL from arbitrary text; none when it is empty or too long, holds a space, a control or a
  /// non-ASCII character, a percent sign that starts no escape, or brackets that hold no host.
  [[nodiscard]] static std::optional<URL> parse(std::string_view text);
  /// The URL of a file. A relative path starts at the working directory of the moment. A path that
  /// ends with "/" names a directory.
  [[nodiscard]] static URL fileURL(std::string_view path);

  /// The whole text, as parsed or put together.
  [[nodiscard]] const std::string& absoluteString() const noexcept { return text_; }
  [[nodiscard]] const std::string& description() const noexcept { return text_; }

  /// As written, without the colon; empty in a reference.
  [[nodiscard]] std::string_view scheme() const noexcept { return part(0, schemeEnd_); }
  /// As written, without user, port and brackets; none where there is no authority.
  [[nodiscard]] std::optional<std::string_view> host() const noexcept;
  /// The path with its escapes resolved and without the slash at the end of a directory's. It may
  /// hold any byte, NUL included: use `filePath()` for what goes to the system.
  [[nodiscard]] std::string path() const;
  /// As written, without its mark; none where there is none.
  [[nodiscard]] std::optional<std::string_view> query() const noexcept;
  [[nodiscard]] std::optional<std::string_view> fragment() const noexcept;

  /// The path's last component with its escapes resolved; "/" for the root, empty for an empty
  /// path.
  [[nodiscard]] std::string lastPathComponent() const;
  /// What follows the last point of the last component; empty where there is none.
  [[nodiscard]] std::string pathExtension() const;
  [[nodiscard]] bool hasDirectoryPath() const noexcept;

  /// With one more component, behind exactly one "/", escaped where needed. An empty one gives the
  /// directory itself. Slashes within it separate, ".." stays as written.
  [[nodiscard]] URL appendingPathComponent(std::string_view component) const;
  /// The directory that holds it, ending with "/".
  [[nodiscard]] URL deletingLastPathComponent() const;

  [[nodiscard]] bool isFileURL() const noexcept;
  /// The path for the system's calls; none unless this is a file URL of this machine whose path
  /// holds no NUL.
  [[nodiscard]] std::optional<std::string> filePath() const;

  friend bool operator==(const URL& a, const URL& b) noexcept { return a.text_ == b.text_; }
  friend auto operator<=>(const URL& a, const URL& b) noexcept { return a.text_ <=> b.text_; }

 private:
  URL() noexcept = default;

  [[nodiscard]] bool findParts() noexcept;
  [[nodiscard]] std::string_view part(std::size_t begin, std::size_t end) const noexcept {
    return std::string_view(text_).substr(begin, end - begin);
  }
  [[nodiscard]] std::string_view writtenPath() const noexcept { return part(pathBegin_, pathEnd_); }
  [[nodiscard]] URL withPath(std::string_view written) const;

  std::string text_;
  std::uint32_t schemeEnd_ = 0;
  /// Where the authority begins, 0 where there is none: it ends where the path begins.
  std::uint32_t authorityBegin_ = 0;
  std::uint32_t pathBegin_ = 0;
  std::uint32_t pathEnd_ = 0;
  /// The query's end; it is absent when it equals the path's.
  std::uint32_t queryEnd_ = 0;
};

}  // namespace foundation

template <>
struct std::hash<foundation::URL> {
  std::size_t operator()(const foundation::URL& url) const noexcept {
    return std::hash<std::string>{}(url.absoluteString());
  }
};
