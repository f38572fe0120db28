#include "CoreData/Coordinator/NSPersistentStoreDescription.h"

namespace coredata {

using foundation::Value;
using foundation::ValueDictionary;

void NSPersistentStoreDescription::setOption(Value value, std::string_view forKey) {
  if (value.isNone()) {
    if (const auto found = options_.find(forKey); found != options_.end()) options_.erase(found);
    return;
  }
  options_.insert_or_assign(std::string(forKey), std::move(value));
}

bool NSPersistentStoreDescription::isOn(std::string_view optionKey) const noexcept {
  const auto found = options_.find(optionKey);
  if (found == options_.end()) return false;
  const foundation::NSNumber* number = found->second.number();
  return number != nullptr && number->boolValue();
}

void NSPersistentStoreDescription::setValue(const std::string& value,
                                            const std::string& forPragmaNamed) {
  ValueDictionary pragmas;
  const auto found = options_.find(NSSQLitePragmasOption);
  if (found != options_.end() && found->second.dictionary() != nullptr)
    pragmas = *found->second.dictionary();
  pragmas.insert_or_assign(forPragmaNamed, Value(value));
  setOption(Value(std::move(pragmas)), NSSQLitePragmasOption);
}

std::map<std::string, std::string> NSPersistentStoreDescription::sqlitePragmas() const {
  std::map<std::string, std::string> result;
  const auto found = options_.find(NSSQLitePragmasOption);
  if (found == options_.end() || found->second.dictionary() == nullptr) return result;
  for (const auto& [name, value] : *found->second.dictionary()) {
    if (const std::string* text = value.text()) result.emplace(name, *text);
    if (const foundation::NSNumber* number = value.number())
      result.emplace(name, number->stringValue());
  }
  return result;
}

}  // namespace coredata
