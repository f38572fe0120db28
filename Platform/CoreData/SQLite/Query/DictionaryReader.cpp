#include "CoreData/SQLite/Query/DictionaryReader.h"

#include "Foundation/Values/NSNumber.h"

namespace coredata {

using foundation::NSNumber;

namespace {

bool isNumber(int storageClass) noexcept {
  return storageClass == SQLITE_INTEGER || storageClass == SQLITE_FLOAT;
}

void appendWhole(Statement& statement, int column, DictionaryRows& rows) {
  const bool isReal = statement.storageClass(column) == SQLITE_FLOAT;
  rows.appendInteger(isReal ? NSNumber(statement.real(column)).int64Value()
                            : statement.integer(column));
}

void appendAsStored(Statement& statement, int column, DictionaryRows& rows) {
  switch (statement.storageClass(column)) {
    case SQLITE_INTEGER:
      rows.appendInteger(statement.integer(column));
      return;
    case SQLITE_FLOAT:
      rows.appendReal(statement.real(column));
      return;
    case SQLITE_TEXT:
      rows.appendText(statement.text(column));
      return;
    case SQLITE_BLOB:
      rows.appendBytes(statement.bytes(column));
      return;
    default:
      rows.appendNone();
  }
}

/// False when the value cannot be had as that type.
bool appendAs(NSAttributeType type, int storageClass, Statement& statement, int column,
              DictionaryRows& rows) {
  switch (type) {
    case NSAttributeType::integer16:
    case NSAttributeType::integer32:
    case NSAttributeType::integer64:
    case NSAttributeType::boolean:
      if (!isNumber(storageClass)) return false;
      appendWhole(statement, column, rows);
      return true;
    case NSAttributeType::double_:
      if (!isNumber(storageClass)) return false;
      rows.appendReal(statement.real(column));
      return true;
    case NSAttributeType::date:
      if (!isNumber(storageClass)) return false;
      rows.appendDate(statement.real(column));
      return true;
    case NSAttributeType::uuid:
      if (storageClass != SQLITE_BLOB) return false;
      rows.appendIdentifier(statement.bytes(column));
      return true;
    case NSAttributeType::string:
    case NSAttributeType::binaryData:
    case NSAttributeType::undefined:
      break;
  }
  return false;
}

void appendCell(const FetchColumn& given, Statement& statement, int column, DictionaryRows& rows) {
  const int storageClass = statement.storageClass(column);
  if (storageClass == SQLITE_NULL) {
    rows.appendNone();
    return;
  }
  const bool isObject = given.path.attribute == nullptr && given.aggregate != Aggregate::count;
  if (isObject && storageClass == SQLITE_INTEGER) {
    rows.appendReference(statement.integer(column));
  } else if (!appendAs(given.type, storageClass, statement, column, rows)) {
    appendAsStored(statement, column, rows);
  }
}

}  // namespace

void appendRow(Statement& statement, DictionaryRows& rows) {
  int column = 0;
  for (const FetchColumn& given : rows.columns()) appendCell(given, statement, column++, rows);
}

}  // namespace coredata
