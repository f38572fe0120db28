#include "Foundation/Metadata/NSMetadataItem.h"

#include <functional>
#include <string>
#include <utility>

namespace foundation {

NSMetadataItem::NSMetadataItem(ValueDictionary attributes) : attributes_(std::move(attributes)) {
  // What is absent is as if it had never been named.
  std::erase_if(attributes_, [](const auto& attribute) { return attribute.second.isNone(); });
}

std::optional<Value> NSMetadataItem::value(std::string_view forAttribute) const {
  const auto found = attributes_.find(forAttribute);
  return found == attributes_.end() ? std::nullopt : std::optional(found->second);
}

Value NSMetadataItem::valueForKey(std::string_view key) const { return Value(value(key)); }

bool NSMetadataItem::isEqual(const Object& other) const noexcept {
  const auto* item = dynamic_cast<const NSMetadataItem*>(&other);
  return item != nullptr && item->attributes_ == attributes_;
}

std::size_t NSMetadataItem::hash() const noexcept {
  // The name tells most items apart.
  const auto name = attributes_.find(NSMetadataItemFSNameKey);
  const auto* text = name == attributes_.end() ? nullptr : name->second.text();
  return text == nullptr ? attributes_.size() : std::hash<std::string>{}(*text);
}

}  // namespace foundation
