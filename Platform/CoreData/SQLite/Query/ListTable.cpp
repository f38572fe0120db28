#include "CoreData/SQLite/Query/ListTable.h"

#include <cstddef>

#include "CoreData/SQLite/Query/PredicateCompiler.h"
#include "CoreData/SQLite/TableFunction.h"

namespace coredata {

using foundation::Operand;

namespace {

/// What is left of a list.
class ListedValues {
 public:
  static constexpr const char* kPointerType = kListPointerType;
  static constexpr int kColumnCount = 1;
  static constexpr sqlite3_int64 kGuessedRows = 50;
  static std::string columns() { return "value"; }

  void start(void* address) noexcept {
    list_ = static_cast<const ListMembers*>(address);
    position_ = 0;
  }
  void advance() noexcept { ++position_; }
  [[nodiscard]] bool isAtEnd() const noexcept {
    return list_ == nullptr || position_ >= list_->size();
  }
  void give(int, sqlite3_context* context) const noexcept {
    const Operand& value = (*list_)[position_];
    switch (value.kind()) {
      case Operand::Kind::integer:
        sqlite3_result_int64(context, value.asInteger());
        break;
      case Operand::Kind::real:
        sqlite3_result_double(context, value.asReal());
        break;
      case Operand::Kind::text:
        sqlite3_result_text64(context, value.asText().data(), value.asText().size(), SQLITE_STATIC,
                              SQLITE_UTF8);
        break;
      case Operand::Kind::bytes: {
        // A null address would be an absent value, which empty bytes are not.
        const char* bytes = value.asText().empty() ? "" : value.asText().data();
        sqlite3_result_blob64(context, bytes, value.asText().size(), SQLITE_STATIC);
        break;
      }
      case Operand::Kind::none:
      case Operand::Kind::date:
      case Operand::Kind::uuid:
      case Operand::Kind::object:
      case Operand::Kind::list:
      case Operand::Kind::many:
      case Operand::Kind::other:
        break;
    }
  }

 private:
  const ListMembers* list_ = nullptr;
  std::size_t position_ = 0;
};

}  // namespace

int installListTable(sqlite3* database) noexcept {
  return TableFunction<ListedValues>::install(database, kListTable);
}

}  // namespace coredata
