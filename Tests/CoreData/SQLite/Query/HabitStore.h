#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/Query/QueryRunner.h"
#include "CoreData/SQLite/ReadSession.h"
#include "Foundation/Values/Value.h"
#include "Tests/CoreData/SQLite/Query/HabitModel.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace habits {

/// Values by property name; a to-one relationship is given by the key.
using Values = std::vector<std::pair<std::string, foundation::Value>>;

/// A row with those values; what is not named is absent.
[[nodiscard]] foundation::Ref<coredata::Row> row(std::string_view entityName,
                                                 coredata::ObjectKey key, const Values& values);

/// Saves new rows through the session.
void insert(coredata::ReadSession& session,
            const std::vector<foundation::Ref<coredata::Row>>& rows);

/// A store of the habit schema in a directory of its own.
class Store {
 public:
  Store();

  void insert(const std::vector<foundation::Ref<coredata::Row>>& rows) {
    habits::insert(session_, rows);
  }
  void insert(std::string_view entityName, coredata::ObjectKey key, const Values& values) {
    insert({row(entityName, key, values)});
  }

  [[nodiscard]] coredata::ReadSession& session() noexcept { return session_; }
  [[nodiscard]] coredata::QueryRunner runner() noexcept { return {session_, arguments_}; }

  [[nodiscard]] std::vector<coredata::ObjectKey> keys(const Fetch& fetch) {
    return runner().keys(*fetch.plan, fetch.arguments());
  }
  template <typename... Arguments>
  [[nodiscard]] std::vector<coredata::ObjectKey> keys(std::string_view entityName,
                                                      std::string_view format,
                                                      Arguments&&... arguments) {
    return keys(fetch(entityName, foundation::NSPredicate::format(
                                      format, std::forward<Arguments>(arguments)...)));
  }
  /// What SQLite says of how it runs the fetch's query.
  [[nodiscard]] std::string explanation(const Fetch& fetch, coredata::QueryVariant variant);

  /// Runs SQL on the file as another program would.
  void execute(const std::string& sql);
  /// Damages the file: the row goes, and its entry in that index stays.
  void deleteBehindIndex(const std::string& table, const std::string& index,
                         coredata::ObjectKey key);

 private:
  support::TemporaryDirectory directory_;
  coredata::ReadSession session_;
  HandleArguments arguments_;
};

}  // namespace habits
