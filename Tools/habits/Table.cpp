#include "Tools/habits/Table.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace habits {

namespace {

constexpr std::size_t kGap = 2;

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

/// The blocks whose characters are as wide as they are high.
bool isWide(std::uint32_t codePoint) {
  constexpr std::pair<std::uint32_t, std::uint32_t> kWide[] = {
      {0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},   {0xac00, 0xd7a3},
      {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},
      {0x1f300, 0x1f64f}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd},
  };
  return std::ranges::any_of(kWide, [&](const auto& block) {
    return block.first <= codePoint && codePoint <= block.second;
  });
}

/// The code point of the character that begins with `lead`, as far as its own bits say; the bytes
/// that follow add six each.
std::uint32_t leadingBits(unsigned char lead) {
  if (lead < 0x80) return lead;
  if (lead < 0xe0) return lead & 0x1fU;
  if (lead < 0xf0) return lead & 0x0fU;
  return lead & 0x07U;
}

}  // namespace

std::size_t displayWidth(const std::string& text) {
  std::size_t width = 0;
  for (std::size_t i = 0; i < text.size();) {
    std::uint32_t codePoint = leadingBits(static_cast<unsigned char>(text[i++]));
    for (; i < text.size() && (static_cast<unsigned char>(text[i]) & 0xc0U) == 0x80; ++i) {
      codePoint = codePoint << 6U | (static_cast<unsigned char>(text[i]) & 0x3fU);
    }
    width += isWide(codePoint) ? 2 : 1;
  }
  return width;
}

std::string withoutControls(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return isControl(c) && c != '\n'; }, '?');
  return text;
}

void Table::add(std::vector<std::string> row) {
  for (std::string& cell : row) std::ranges::replace_if(cell, isControl, '?');
  rows_.push_back(std::move(row));
}

std::string Table::text() const {
  std::vector<std::size_t> widths;
  for (const auto& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
  }
  std::string result;
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] + kGap - displayWidth(row[i]), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    result += (result.empty() ? "" : "\n") + line;
  }
  return result;
}

}  // namespace habits
