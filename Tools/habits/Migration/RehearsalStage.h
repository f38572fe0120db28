#pragma once

#include <optional>

#include "Foundation/Values/URL.h"

namespace habits {

/// Copies of a store and of the photo directories, with the copy of the container in the place of
/// the group's while this lives.
class RehearsalStage {
 public:
  /// Makes the copies in a directory. Throws `Refusal` when the user wants to stop, and what the
  /// store and the file manager throw.
  RehearsalStage(const foundation::URL& ofStore, const foundation::URL& within);
  RehearsalStage(const RehearsalStage&) = delete;
  RehearsalStage& operator=(const RehearsalStage&) = delete;
  ~RehearsalStage();

  [[nodiscard]] const foundation::URL& store() const noexcept { return store_; }
  [[nodiscard]] const foundation::URL& container() const noexcept { return container_; }

 private:
  std::optional<foundation::URL> realContainer_;
  foundation::URL container_;
  foundation::URL store_;
};

}  // namespace habits
