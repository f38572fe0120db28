#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/Query/ColumnType.h"
#include "CoreData/SQLite/Query/QueryVariant.h"
#include "Foundation/Predicate/PredicateShape.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// What is bound to a parameter, or to several successive ones, of a compiled query.
struct QueryParameter {
  enum class Source : std::uint8_t {
    literal,   ///< `literal`
    argument,  ///< the argument of number `index`
    element,   ///< element `element` of the list that the argument is
    members,   ///< the present members of that list, the last one repeated up to `width`
    list,      ///< that list as the content of a table
    test,      ///< whether the comparison `tests[index]`, which reads no column, holds
    limit,
    offset,
  };
  /// What the value is compared for. It decides what stands for a value that no column of the type
  /// can hold, so that the comparison comes out as it does in memory.
  enum class Role : std::uint8_t {
    equality,     ///< a value that equals nothing
    roundedDown,  ///< absent, so that nothing is less or more; a whole number that a double column
                  ///< cannot hold gives way to the next smaller double
    roundedUp,    ///< the same with the next greater double
    prefixEnd,    ///< the end of the texts that begin with the value, absent for no text
  };

  Source source = Source::argument;
  Role role = Role::equality;
  /// What the value is compared with.
  ColumnType type;
  /// The first parameter, counted from 1.
  int number = 0;
  int width = 1;
  std::uint32_t index = 0;
  std::uint32_t element = 0;
  foundation::Value literal;
};

/// A query's text and where the values for its parameters come from. It refers to nothing of the
/// plan that it was made from but the model.
struct CompiledQuery {
  const NSManagedObjectModel* model = nullptr;
  std::string sql;
  std::vector<QueryParameter> parameters;
  /// Comparisons between arguments and literals alone.
  std::vector<foundation::PredicateNode> tests;
  /// Whether the text calls functions of ours, which a connection has to be taught first.
  bool callsFunctions = false;
};

}  // namespace coredata
