#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// A longer file is no model and no mapping, whatever it begins with.
inline constexpr std::size_t kLongestFile = std::size_t{4} << 20;

/// The content of a regular file. Throws an `Error` of code `ModelErrorCode::unreadableFile` that
/// names it as one of its kind: a "model", a "mapping".
[[nodiscard]] std::vector<std::uint8_t> readFile(const foundation::URL& url, std::string_view kind);

/// The file as messages name it.
[[nodiscard]] std::string quoted(const foundation::URL& url);

[[nodiscard]] inline std::string_view asText(const std::vector<std::uint8_t>& bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Does something with the content of a file; an `Error` that it throws comes back naming the file.
template <typename Use>
auto namingFile(const foundation::URL& url, Use use) {
  try {
    return use();
  } catch (const foundation::Error& error) {
    throw foundation::Error(error.domain(), error.code(), quoted(url) + ": " + error.message());
  }
}

}  // namespace coredata
