#include "Foundation/Values/URL.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "Foundation/Internal/ASCII.h"
#include "Foundation/Values/Internal/PercentEncoding.h"

// URL       := [ scheme ":" ] [ "//" authority ] path [ "?" query ] [ "#" fragment ]
// authority := [ user "@" ] host [ ":" digit* ]
// host      := "[" address "]" | name

namespace foundation {

namespace {

constexpr std::string_view kMarksOfPath = ":@/";
constexpr std::string_view kMarksOfQuery = ":@/?";
constexpr auto kNone = std::string_view::npos;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, ascii::lowered, ascii::lowered);
}

bool isScheme(std::string_view text) {
  return !text.empty() && ascii::isLetter(text.front()) && std::ranges::all_of(text, [](char c) {
    return ascii::isLetter(c) || ascii::isDigit(c) || c == '+' || c == '-' || c == '.';
  });
}

/// The authority without its user.
std::string_view hostAndPort(std::string_view authority) {
  const std::size_t at = authority.rfind('@');
  return at == kNone ? authority : authority.substr(at + 1);
}

bool isPort(std::string_view text) {
  return text.empty() ||
         (text.front() == ':' && std::ranges::all_of(text.substr(1), ascii::isDigit));
}

bool isAuthority(std::string_view text) {
  const std::string_view place = hostAndPort(text);
  const std::string_view user = text.substr(0, text.size() - place.size());
  if (!isUrlText(user.substr(0, user.empty() ? 0 : user.size() - 1), ":")) return false;
  if (!place.starts_with('[')) {
    const std::size_t colon = std::min(place.find(':'), place.size());
    return isUrlText(place.substr(0, colon), "") && isPort(place.substr(colon));
  }
  const std::size_t close = place.find(']');
  return close != kNone && close > 1 && isUrlText(place.substr(1, close - 1), ":") &&
         isPort(place.substr(close + 1));
}

std::string_view withoutSlashesAtEnd(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
  if (text.empty() || text.size() > kMaximumLength) return std::nullopt;
  URL url;
  url.text_ = text;
  if (!url.findParts()) return std::nullopt;
  return url;
}

URL URL::fileURL(std::string_view path) {
  URL url;
  url.text_ = "file://";
  if (!path.starts_with('/')) {
    url.text_ += percentEncodedPath(std::filesystem::current_path().native());
    if (!url.text_.ends_with('/')) url.text_ += '/';
  }
  url.text_ += percentEncodedPath(path);
  static_cast<void>(url.findParts());
  return url;
}

/// Finds where the parts begin and end; false when the text is no URL.
bool URL::findParts() noexcept {
  const std::string_view text = text_;
  const auto position = [&](std::size_t found) {
    return static_cast<std::uint32_t>(std::min(found, text.size()));
  };

  std::size_t next = 0;
  schemeEnd_ = 0;
  const std::size_t mark = text.find_first_of(":/?#");
  if (mark != kNone && text[mark] == ':') {
    if (!isScheme(text.substr(0, mark))) return false;
    schemeEnd_ = position(mark);
    next = mark + 1;
  }

  authorityBegin_ = 0;
  if (text.substr(next).starts_with("//")) {
    authorityBegin_ = position(next + 2);
    next = position(text.find_first_of("/?#", authorityBegin_));
    if (!isAuthority(part(authorityBegin_, next))) return false;
  }

  pathBegin_ = position(next);
  pathEnd_ = position(text.find_first_of("?#", pathBegin_));
  queryEnd_ = position(text.find('#', pathEnd_));
  return isUrlText(writtenPath(), kMarksOfPath) && isUrlText(query().value_or(""), kMarksOfQuery) &&
         isUrlText(fragment().value_or(""), kMarksOfQuery);
}

std::optional<std::string_view> URL::host() const noexcept {
  if (authorityBegin_ == 0) return std::nullopt;
  const std::string_view place = hostAndPort(part(authorityBegin_, pathBegin_));
  if (place.starts_with('[')) return place.substr(1, place.find(']') - 1);
  return place.substr(0, place.find(':'));
}

std::string URL::path() const { return percentDecoded(withoutSlashesAtEnd(writtenPath())); }

std::optional<std::string_view> URL::query() const noexcept {
  if (queryEnd_ == pathEnd_) return std::nullopt;
  return part(pathEnd_ + 1, queryEnd_);
}

std::optional<std::string_view> URL::fragment() const noexcept {
  if (queryEnd_ == text_.size()) return std::nullopt;
  return part(queryEnd_ + 1, text_.size());
}

std::string URL::lastPathComponent() const {
  const std::string_view written = withoutSlashesAtEnd(writtenPath());
  if (written == "/") return "/";
  return percentDecoded(written.substr(written.rfind('/') + 1));
}

std::string URL::pathExtension() const {
  const std::string name = lastPathComponent();
  const std::size_t point = name.rfind('.');
  // A point in front hides a file; it does not start an extension.
  if (point == kNone || point == 0) return {};
  return name.substr(point + 1);
}

bool URL::hasDirectoryPath() const noexcept { return writtenPath().ends_with('/'); }

URL URL::withPath(std::string_view written) const {
  URL url;
  url.text_ = text_.substr(0, pathBegin_);
  url.text_ += written;
  url.text_ += part(pathEnd_, text_.size());
  static_cast<void>(url.findParts());
  return url;
}

URL URL::appendingPathComponent(std::string_view component) const {
  std::string written(withoutSlashesAtEnd(writtenPath()));
  if (!written.ends_with('/')) written += '/';
  component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
  return withPath(written + percentEncodedPath(component));
}

URL URL::deletingLastPathComponent() const {
  const std::string_view written = withoutSlashesAtEnd(writtenPath());
  const std::size_t slash = written.rfind('/');
  return withPath(slash == kNone ? "./" : written.substr(0, slash + 1));
}

bool URL::isFileURL() const noexcept { return equalsIgnoringCase(scheme(), "file"); }

std::optional<std::string> URL::filePath() const {
  const std::string_view machine = host().value_or("");
  if (!isFileURL() || !(machine.empty() || equalsIgnoringCase(machine, "localhost")))
    return std::nullopt;
  std::string result = path();
  if (!result.starts_with('/') || result.find('\0') != std::string::npos) return std::nullopt;
  return result;
}

}  // namespace foundation
