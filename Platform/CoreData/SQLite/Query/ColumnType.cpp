#include "CoreData/SQLite/Query/ColumnType.h"

namespace coredata {

namespace {

ColumnKind columnKind(NSAttributeType type) noexcept {
  switch (type) {
    case NSAttributeType::integer16:
    case NSAttributeType::integer32:
    case NSAttributeType::integer64:
    case NSAttributeType::boolean:
      return ColumnKind::integer;
    case NSAttributeType::double_:
      return ColumnKind::real;
    case NSAttributeType::date:
      return ColumnKind::date;
    case NSAttributeType::string:
      return ColumnKind::text;
    case NSAttributeType::uuid:
      return ColumnKind::identifier;
    case NSAttributeType::binaryData:
    case NSAttributeType::undefined:
      break;
  }
  return ColumnKind::bytes;
}

bool isNumber(ColumnKind kind) noexcept {
  return kind == ColumnKind::integer || kind == ColumnKind::real;
}

}  // namespace

ColumnType columnType(NSAttributeType type) noexcept { return {columnKind(type)}; }

ColumnType columnType(const ResolvedPath& path) noexcept {
  if (path.end == ResolvedPath::End::toMany || path.passesToMany()) {
    return {ColumnKind::collection};
  }
  if (path.attribute == nullptr) return {ColumnKind::reference, path.objectEntity()};
  return columnType(path.attribute->attributeType());
}

bool areComparable(const ColumnType& left, const ColumnType& right) noexcept {
  if (isNumber(left.kind)) return isNumber(right.kind);
  return left.kind == right.kind && left.entity == right.entity &&
         left.kind != ColumnKind::collection;
}

bool isOrdered(const ColumnType& type) noexcept {
  return type.kind != ColumnKind::reference && type.kind != ColumnKind::collection;
}

}  // namespace coredata
