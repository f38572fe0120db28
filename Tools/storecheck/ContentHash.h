#pragma once

#include <memory>
#include <string>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/SQLite/StoreInspection.h"

namespace storecheck {

/// A text that is equal for stores that hold the same rows: the same keys with the same values and
/// the same relationships, whatever their order in the file, however often they were written, and
/// whatever lies beside them (history, marks, metadata, indexes).
///
/// It is the SHA-256, in hexadecimal, of:
//
// content  := text("content/1") entity*
// entity   := 'E' text(name) count text(column)*  row*
// row      := 'R' key:i64 value*
// value    := 'N' | 'I' i64 | 'D' bits of the double:u64 | 'T' text | 'B' text
// text     := count bytes                 count := u64
//
// Integers are little-endian. Entities and columns stand in the byte order of their names, rows in
// that of their keys. Columns are attributes and to-ones, which hold keys. Every text carries its
// length, so that no two contents share their bytes.
class ContentHash {
 public:
  ContentHash();
  ~ContentHash();
  ContentHash(const ContentHash&) = delete;
  ContentHash& operator=(const ContentHash&) = delete;

  /// Begins the next entity.
  void begin(const coredata::NSEntityDescription& entity);
  /// The next row of the entity, whose rows come in the order of their keys.
  void add(coredata::StoredRow row);
  /// 64 digits. Nothing may be added afterwards.
  [[nodiscard]] std::string text();

 private:
  struct Digest;

  void addTag(char tag);
  void addNumber(std::uint64_t number);
  void addText(std::string_view text);
  void addValue(const coredata::StoredValue& value);

  std::unique_ptr<Digest> digest_;
};

}  // namespace storecheck
