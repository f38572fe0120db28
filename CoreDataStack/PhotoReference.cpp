#include "CoreDataStack/PhotoReference.h"

#include <string_view>

#include "Foundation/Json/NSJSONSerialization.h"

namespace coredatastack {

using foundation::Data;
using foundation::NSJSONSerialization;
using foundation::Value;
using foundation::ValueDictionary;

namespace {

constexpr std::string_view kFilename = "filename";

}  // namespace

Data photoReference(const std::string& filename) {
  return NSJSONSerialization::data(ValueDictionary{{std::string(kFilename), filename}});
}

std::optional<std::string> photoFileName(const Data& reference) {
  const Value parsed = NSJSONSerialization::JSONObject(reference);
  const ValueDictionary* entries = parsed.dictionary();
  if (entries == nullptr) return std::nullopt;
  for (const auto& [key, value] : *entries) {
    if (value.text() == nullptr) return std::nullopt;
  }
  const auto found = entries->find(kFilename);
  return found == entries->end() ? std::nullopt : std::optional(*found->second.text());
}

}  // namespace coredatastack
