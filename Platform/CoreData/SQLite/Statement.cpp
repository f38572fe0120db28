#include "CoreData/SQLite/Statement.h"

#include "CoreData/SQLite/Connection.h"

namespace coredata {

using foundation::Operand;

Statement::Statement(Connection& connection, std::string_view sql) : connection_(connection) {
  const char* tail = nullptr;
  const int result =
      sqlite3_prepare_v3(connection.handle(), sql.data(), static_cast<int>(sql.size()),
                         SQLITE_PREPARE_PERSISTENT, &statement_, &tail);
  if (result != SQLITE_OK) connection.fail(result, sql);
}

void Statement::bindText(int parameter, std::string_view value) {
  // A null address would be bound as absent, which an empty text is not.
  const char* text = value.data() == nullptr ? "" : value.data();
  check(sqlite3_bind_text64(statement_, parameter, text, value.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Statement::bindBytes(int parameter, std::span<const std::uint8_t> value) {
  const void* bytes = value.data() == nullptr ? static_cast<const void*>("") : value.data();
  check(sqlite3_bind_blob64(statement_, parameter, bytes, value.size(), SQLITE_STATIC));
}

void Statement::bind(int parameter, const Operand& value) {
  switch (value.kind()) {
    case Operand::Kind::integer:
      return bindInteger(parameter, value.asInteger());
    case Operand::Kind::real:
    case Operand::Kind::date:
      return bindReal(parameter, value.asReal());
    case Operand::Kind::text:
      return bindText(parameter, value.asText());
    case Operand::Kind::bytes:
      return bindBytes(parameter, {reinterpret_cast<const std::uint8_t*>(value.asText().data()),
                                   value.asText().size()});
    case Operand::Kind::uuid:
      // The operand may be a temporary, and sixteen bytes are cheap to copy.
      return check(sqlite3_bind_blob(statement_, parameter, value.asUUID().data(),
                                     static_cast<int>(value.asUUID().size()), SQLITE_TRANSIENT));
    case Operand::Kind::none:
    case Operand::Kind::object:
    case Operand::Kind::list:
    case Operand::Kind::many:
    case Operand::Kind::other:
      return bindNull(parameter);
  }
}

void Statement::run() {
  const StatementUse use(*this);
  while (step()) {
  }
}

std::string_view Statement::text(int column) const { return cell(column).text(); }

void Statement::fail(int result) const { connection_.fail(result, sql()); }

std::span<const std::uint8_t> Cell::bytes() const {
  const void* start = sqlite3_value_blob(value_);
  const std::size_t size = byteSize();
  // SQLite answers a null address for an empty value and for one that it found no memory for.
  if (start == nullptr && size != 0) statement_.fail(SQLITE_NOMEM);
  return {static_cast<const std::uint8_t*>(start), size};
}

std::string_view Cell::text() const {
  // Read as bytes: asking for a text would copy it only to put a NUL behind it.
  const auto value = bytes();
  return {reinterpret_cast<const char*>(value.data()), value.size()};
}

}  // namespace coredata
