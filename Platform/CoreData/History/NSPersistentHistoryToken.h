#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "Foundation/Values/Object.h"

namespace coredata {

/// A place in a store's history: behind one of its transactions. Immutable; use it on any thread.
class NSPersistentHistoryToken final : public foundation::Object {
 public:
  /// `storeID` is the store's UUID as a text. Number 0 is the place before every transaction.
  NSPersistentHistoryToken(std::string storeID, std::int64_t transactionNumber)
      : storeID_(std::move(storeID)), number_(transactionNumber) {}

  [[nodiscard]] const std::string& storeID() const noexcept { return storeID_; }
  [[nodiscard]] std::int64_t transactionNumber() const noexcept { return number_; }

  /// The same place in the same store.
  [[nodiscard]] bool isEqual(const foundation::Object& other) const noexcept override;
  [[nodiscard]] std::size_t hash() const noexcept override;
  [[nodiscard]] std::string description() const override;

 private:
  std::string storeID_;
  std::int64_t number_;
};

}  // namespace coredata
