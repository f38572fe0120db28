#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "CoreData/SQLite/SQLiteStore.h"

namespace support {

/// Listens to the queries that a store runs, and asks SQLite how it runs them. It hears the
/// connection that the store lends first: make it while nobody reads, and end it before the store.
///
/// Threading: one thread, and no other that uses the store.
class SqlTrace {
 public:
  explicit SqlTrace(const coredata::SQLiteStore& store);
  ~SqlTrace();
  SqlTrace(const SqlTrace&) = delete;
  SqlTrace& operator=(const SqlTrace&) = delete;

  /// The queries since the last call, with parameters in the places of their values.
  [[nodiscard]] std::vector<std::string> takeQueries();
  /// The steps of SQLite's plan for a query, one an element.
  [[nodiscard]] std::vector<std::string> plan(std::string_view query) const;

 private:
  const coredata::SQLiteStore& store_;
  std::vector<std::string> queries_;
};

/// Whether a query asks for whole rows of an entity, and not for some columns or for keys alone.
[[nodiscard]] inline bool readsRows(std::string_view query, std::string_view entity) {
  return (query.starts_with("SELECT * ") || query.contains(".*")) &&
         query.contains("FROM \"" + std::string(entity) + '"');
}

}  // namespace support
