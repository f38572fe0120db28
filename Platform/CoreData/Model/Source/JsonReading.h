#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Foundation/Values/Value.h"

namespace coredata {

using Json = nlohmann::json;

/// Where in a readable source something stands: what kind of source it is, and the path of members.
class SourcePlace {
 public:
  /// The top of a source of that kind: "model", "mapping".
  explicit SourcePlace(std::string_view kind) : kind_(kind) {}

  /// A member of what stands here.
  [[nodiscard]] SourcePlace operator/(std::string_view member) const;

  /// Throws an `Error` of code `ModelErrorCode::unreadableSource` that names the place.
  [[noreturn]] void fail(const std::string& what) const;

 private:
  std::string kind_;
  std::string path_;
};

/// The JSON of a source. Also refuses what JSON lets pass and a person did not mean: a member that
/// stands there twice, and what lies deeper than any source goes.
[[nodiscard]] Json parseSource(std::string_view text, const SourcePlace& top);

void requireObject(const Json& value, const SourcePlace& place);
[[nodiscard]] std::string requireText(const Json& value, const SourcePlace& place);
[[nodiscard]] std::vector<std::string> requireTexts(const Json& value, const SourcePlace& place);
/// Refuses every member that is not among those named.
void requireMembers(const Json& object, const SourcePlace& place,
                    std::initializer_list<std::string_view> known);

/// The member, or null.
[[nodiscard]] const Json* findMember(const Json& object, std::string_view member);
/// The member's text; empty when it is left out.
[[nodiscard]] std::string textMember(const Json& object, std::string_view member,
                                     const SourcePlace& place);
[[nodiscard]] bool flagMember(const Json& object, std::string_view member,
                              const SourcePlace& place);
/// A number, a text or a truth value.
[[nodiscard]] foundation::Value requireConstant(const Json& value, const SourcePlace& place);

/// Calls `use` with the name, the value and the place of each member of an object that may be left
/// out.
template <typename Use>
void forEachMember(const Json& object, std::string_view member, const SourcePlace& place, Use use) {
  const auto* members = findMember(object, member);
  if (members == nullptr) return;
  const auto where = place / member;
  requireObject(*members, where);
  for (const auto& [name, value] : members->items()) {
    use(name, value, where / name);
  }
}

}  // namespace coredata
