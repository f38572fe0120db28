#pragma once

#include <optional>
#include <string_view>

#include "Foundation/Values/Object.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// The attribute that holds a file's name, a text.
inline constexpr std::string_view NSMetadataItemFSNameKey = "kMDItemFSName";
/// The attribute that holds a file's URL, an `NSURL`.
inline constexpr std::string_view NSMetadataItemURLKey = "kMDItemURL";
/// The attribute that says how much of a file in the cloud is on this device, a text.
inline constexpr std::string_view NSMetadataUbiquitousItemDownloadingStatusKey =
    "NSMetadataUbiquitousItemDownloadingStatusKey";
/// The downloading status of a file that is here in its newest version.
inline constexpr std::string_view NSMetadataUbiquitousItemDownloadingStatusCurrent =
    "NSMetadataUbiquitousItemDownloadingStatusCurrent";

/// What a search knows of one file: attributes by their names.
///
/// Threading: immutable; use it on any thread.
class NSMetadataItem final : public Object {
 public:
  explicit NSMetadataItem(ValueDictionary attributes);

  /// None for an attribute that the item does not have.
  [[nodiscard]] std::optional<Value> value(std::string_view forAttribute) const;
  [[nodiscard]] const ValueDictionary& attributes() const noexcept { return attributes_; }

  /// For predicates: an attribute that the item does not have is absent.
  [[nodiscard]] Value valueForKey(std::string_view key) const override;
  /// Items with equal attributes are equal.
  [[nodiscard]] bool isEqual(const Object& other) const noexcept override;
  [[nodiscard]] std::size_t hash() const noexcept override;

 private:
  ValueDictionary attributes_;
};

}  // namespace foundation
