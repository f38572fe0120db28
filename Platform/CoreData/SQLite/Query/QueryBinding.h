#pragma once

#include <cstddef>
#include <forward_list>
#include <span>
#include <string>

#include "CoreData/SQLite/Query/CompiledQuery.h"
#include "CoreData/SQLite/Query/ListTable.h"
#include "CoreData/SQLite/Query/ObjectArguments.h"
#include "CoreData/SQLite/Statement.h"

namespace coredata {

/// What changes from run to run of one query.
struct QueryInput {
  std::span<const foundation::Value> arguments;
  std::size_t limit = 0;
  std::size_t offset = 0;
};

/// Binds the parameters of a query and keeps what the statement borrows. It must outlive the run
/// and allocates nothing unless texts are sought by a long prefix or lists are given as tables.
class QueryBinding {
 public:
  QueryBinding(Statement& statement, const QueryInput& input, const ObjectArguments& objects)
      : statement_(statement), input_(input), objects_(objects) {}
  QueryBinding(const QueryBinding&) = delete;
  QueryBinding& operator=(const QueryBinding&) = delete;

  void bind(const CompiledQuery& query);

 private:
  void bind(const CompiledQuery& query, const QueryParameter& parameter);
  void bindValue(int number, const QueryParameter& parameter, const foundation::Value& value);
  void bindPrefixEnd(int number, const foundation::Value& value);
  void bindElement(const QueryParameter& parameter);
  void bindMembers(const QueryParameter& parameter);
  void bindList(const QueryParameter& parameter);

  Statement& statement_;
  const QueryInput& input_;
  const ObjectArguments& objects_;
  std::forward_list<std::string> prefixEnds_;
  std::forward_list<ListMembers> lists_;
};

}  // namespace coredata
