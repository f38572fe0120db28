#include "Tests/Support/Effort.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace support {

namespace {

std::string_view effort() {
  const char* text = std::getenv("TEST_EFFORT");
  return text == nullptr ? std::string_view() : text;
}

}  // namespace

std::size_t tries(std::size_t quick, std::size_t full) {
  return effort() == "full" || effort() == "all" ? full : quick;
}

std::size_t tries(std::size_t quick, std::size_t full, std::size_t all) {
  return effort() == "all" ? all : tries(quick, full);
}

std::vector<std::size_t> points(std::size_t count, std::size_t quick, std::size_t full) {
  const std::size_t wanted = effort() == "all" ? count : std::min(count, tries(quick, full));
  std::vector<std::size_t> result;
  result.reserve(wanted);
  for (std::size_t i = 0; i < wanted; ++i) {
    result.push_back(wanted == 1 ? 1 : 1 + i * (count - 1) / (wanted - 1));
  }
  return result;
}

std::vector<std::int64_t> rooms(std::int64_t bytes, std::size_t quick, std::size_t full) {
  constexpr std::size_t kSteps = 4096;
  std::vector<std::int64_t> result;
  for (const std::size_t step : points(kSteps, quick, full)) {
    result.push_back(bytes * static_cast<std::int64_t>(step - 1) / (kSteps - 1));
  }
  return result;
}

}  // namespace support
