#include "CoreData/SQLite/Query/DictionaryReader.h"

#include "Foundation/Values/NSNumber.h"

namespace coredata {

using foundation::NSNumber;

namespace {

bool isNumber(int storageClass) noexcept {
  return storageClass == SQLITE_INTEGER || storageClass == SQLITE_FLOAT;
}

void appendWhole(const Cell& cell, DictionaryRows& rows) {
  const bool isReal = cell.storageClass() == SQLITE_FLOAT;
  rows.appendInteger(isReal ? NSNumber(cell.real()).int64Value() : cell.integer());
}

void appendAsStored(const Cell& cell, DictionaryRows& rows) {
  switch (cell.storageClass()) {
    case SQLITE_INTEGER:
      rows.appendInteger(cell.integer());
      return;
    case SQLITE_FLOAT:
      rows.appendReal(cell.real());
      return;
    case SQLITE_TEXT:
      rows.appendText(cell.text());
      return;
    case SQLITE_BLOB:
      rows.appendBytes(cell.bytes());
      return;
    default:
      rows.appendNone();
  }
}

/// False when the value cannot be had as that type.
bool appendAs(NSAttributeType type, int storageClass, const Cell& cell, DictionaryRows& rows) {
  switch (type) {
    case NSAttributeType::integer16:
    case NSAttributeType::integer32:
    case NSAttributeType::integer64:
    case NSAttributeType::boolean:
      if (!isNumber(storageClass)) return false;
      appendWhole(cell, rows);
      return true;
    case NSAttributeType::double_:
      if (!isNumber(storageClass)) return false;
      rows.appendReal(cell.real());
      return true;
    case NSAttributeType::date:
      if (!isNumber(storageClass)) return false;
      rows.appendDate(cell.real());
      return true;
    case NSAttributeType::uuid:
      if (storageClass != SQLITE_BLOB) return false;
      rows.appendIdentifier(cell.bytes());
      return true;
    case NSAttributeType::string:
    case NSAttributeType::binaryData:
    case NSAttributeType::undefined:
      break;
  }
  return false;
}

void appendCell(const FetchColumn& given, const Cell& cell, DictionaryRows& rows) {
  const int storageClass = cell.storageClass();
  if (storageClass == SQLITE_NULL) {
    rows.appendNone();
    return;
  }
  const bool isObject = given.path.attribute == nullptr && given.aggregate != Aggregate::count;
  if (isObject && storageClass == SQLITE_INTEGER) {
    rows.appendReference(cell.integer());
  } else if (!appendAs(given.type, storageClass, cell, rows)) {
    appendAsStored(cell, rows);
  }
}

}  // namespace

void appendRow(const Statement& statement, DictionaryRows& rows) {
  int column = 0;
  for (const FetchColumn& given : rows.columns()) appendCell(given, statement.cell(column++), rows);
}

}  // namespace coredata
