#include "Tools/salvage/FileHeader.h"

#include <algorithm>
#include <bit>
#include <string_view>

#include "CoreData/SQLite/StoreSchema.h"

namespace salvage {

namespace {

constexpr std::string_view kMagic{"SQLite format 3\0", 16};
constexpr std::size_t kPageSize = 16;
constexpr std::size_t kWriteVersion = 18;
constexpr std::size_t kReadVersion = 19;
constexpr std::size_t kChangeCounter = 24;
constexpr std::size_t kSchemaFormat = 44;
constexpr std::size_t kEncoding = 56;
constexpr std::size_t kUserVersion = 60;
constexpr std::size_t kApplicationId = 68;
constexpr std::size_t kValidFor = 92;

/// What no store has another value of: reserved bytes, and the fractions of a page.
struct Fixed {
  std::size_t offset;
  std::uint8_t value;
};
constexpr Fixed kFixed[] = {{20, 0}, {21, 64}, {22, 32}, {23, 32}};

void put(FileHeader header, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < sizeof(value); ++i)
    header[offset + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

std::uint32_t get(std::span<const std::uint8_t> header, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < sizeof(value); ++i) value = value << 8U | header[offset + i];
  return value;
}

/// With a rollback journal, or a log.
constexpr std::uint8_t kKeepsJournal = 1;
constexpr std::uint8_t kKeepsLog = 2;

bool isVersion(std::uint8_t value) { return value == kKeepsJournal || value == kKeepsLog; }

bool isUtf8(std::uint32_t encoding) { return encoding == 1; }

}  // namespace

std::size_t pageSizeOf(std::span<const std::uint8_t, kFileHeaderSize> header) noexcept {
  const std::size_t stored = std::size_t{header[kPageSize]} << 8U | header[kPageSize + 1];
  constexpr std::size_t kLargest = 65536;
  const std::size_t size = stored == 1 ? kLargest : stored;
  constexpr std::size_t kSmallest = 512;
  return size >= kSmallest && std::has_single_bit(size) ? size : 0;
}

bool isSound(std::span<const std::uint8_t, kFileHeaderSize> header) noexcept {
  const auto isFixed = [&](const Fixed& fixed) { return header[fixed.offset] == fixed.value; };
  return std::ranges::equal(
             header.first(kMagic.size()), kMagic,
             [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); }) &&
         pageSizeOf(header) != 0 && std::ranges::all_of(kFixed, isFixed) &&
         isVersion(header[kWriteVersion]) && header[kWriteVersion] == header[kReadVersion] &&
         get(header, kSchemaFormat) == 4 && isUtf8(get(header, kEncoding)) &&
         get(header, kUserVersion) == coredata::kStoreFormatVersion &&
         get(header, kApplicationId) == coredata::kStoreApplicationId;
}

void mend(FileHeader header) noexcept {
  const std::size_t pageSize = isSound(header) ? pageSizeOf(header) : coredata::kStorePageSize;
  std::ranges::copy(kMagic, header.begin());
  header[kPageSize] = static_cast<std::uint8_t>(pageSize == 65536 ? 0 : pageSize >> 8U);
  header[kPageSize + 1] = static_cast<std::uint8_t>(pageSize == 65536 ? 1 : pageSize);
  const std::uint8_t version = isVersion(header[kReadVersion]) ? header[kReadVersion] : kKeepsLog;
  header[kWriteVersion] = header[kReadVersion] = version;
  for (const Fixed& fixed : kFixed) header[fixed.offset] = fixed.value;
  put(header, kSchemaFormat, 4);
  put(header, kEncoding, 1);
  put(header, kUserVersion, coredata::kStoreFormatVersion);
  put(header, kApplicationId, coredata::kStoreApplicationId);
  // Two counters that differ say that the number of pages was written by a program that knew none.
  put(header, kValidFor, ~get(header, kChangeCounter));
}

}  // namespace salvage
