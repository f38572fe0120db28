#include "CoreData/Model/Source/JsonReading.h"

#include <algorithm>
#include <functional>
#include <set>

#include "CoreData/Model/ModelError.h"

namespace coredata {
namespace {

/// Deeper than any source goes, and shallow enough for hostile input to cost nothing.
constexpr int kGreatestDepth = 8;

/// Refuses what JSON lets pass and a person did not mean: one member written twice, of which the
/// last would win.
class DuplicateGuard {
 public:
  explicit DuplicateGuard(const SourcePlace& top) : top_(top) {}

  bool operator()(int depth, Json::parse_event_t event, Json& parsed) {
    if (depth > kGreatestDepth) {
      (top_ / ("depth " + std::to_string(depth))).fail("nothing lies that deep");
    }
    switch (event) {
      case Json::parse_event_t::object_start:
        open_.emplace_back();
        break;
      case Json::parse_event_t::object_end:
        open_.pop_back();
        break;
      case Json::parse_event_t::key:
        noteMember(parsed.get_ref<const std::string&>());
        break;
      case Json::parse_event_t::array_start:
      case Json::parse_event_t::array_end:
      case Json::parse_event_t::value:
        break;
    }
    return true;
  }

  /// Where the parser is.
  [[nodiscard]] SourcePlace place() const {
    auto place = top_;
    for (const auto& object : open_) place = place / object.latest;
    return place;
  }

 private:
  struct OpenObject {
    std::set<std::string, std::less<>> members;
    std::string latest;
  };

  void noteMember(const std::string& member) {
    auto& object = open_.back();
    object.latest = member;
    if (!object.members.insert(member).second) place().fail("this member stands there twice");
  }

  const SourcePlace& top_;
  std::vector<OpenObject> open_;
};

std::string lineAndColumn(std::string_view text, std::size_t byte) {
  const auto before = text.substr(0, byte == 0 ? 0 : byte - 1);
  const auto lines = std::ranges::count(before, '\n');
  const auto lineStart = before.rfind('\n');
  const auto column = before.size() - (lineStart == std::string_view::npos ? 0 : lineStart + 1);
  return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column + 1);
}

/// What the parser found wrong, without the identifier and the position that it puts before it.
std::string complaint(const Json::parse_error& error) {
  const std::string_view message(error.what());
  const auto colon = message.find(": ");
  return std::string(colon == std::string_view::npos ? message : message.substr(colon + 2));
}

}  // namespace

SourcePlace SourcePlace::operator/(std::string_view member) const {
  auto place = *this;
  if (!place.path_.empty()) place.path_ += '.';
  place.path_ += member;
  return place;
}

void SourcePlace::fail(const std::string& what) const {
  throw modelError(ModelErrorCode::unreadableSource, "The " + kind_ + " source cannot be read at " +
                                                         (path_.empty() ? "the top" : path_) +
                                                         ": " + what + ".");
}

Json parseSource(std::string_view text, const SourcePlace& top) {
  DuplicateGuard guard(top);
  try {
    return Json::parse(text, std::ref(guard));
  } catch (const Json::out_of_range&) {
    guard.place().fail("the number is too large");
  } catch (const Json::parse_error& error) {
    (top / lineAndColumn(text, error.byte)).fail(complaint(error));
  }
}

void requireObject(const Json& value, const SourcePlace& place) {
  if (!value.is_object()) place.fail("expected an object in braces");
}

std::string requireText(const Json& value, const SourcePlace& place) {
  if (!value.is_string()) place.fail("expected a text");
  return value.get<std::string>();
}

std::vector<std::string> requireTexts(const Json& value, const SourcePlace& place) {
  if (!value.is_array()) place.fail("expected a list of texts in brackets");
  std::vector<std::string> texts;
  for (const auto& element : value) texts.push_back(requireText(element, place));
  return texts;
}

void requireMembers(const Json& object, const SourcePlace& place,
                    std::initializer_list<std::string_view> known) {
  for (const auto& [member, value] : object.items()) {
    if (std::ranges::find(known, std::string_view(member)) != known.end()) continue;
    std::string names;
    for (const auto name : known) names += (names.empty() ? "" : ", ") + std::string(name);
    (place / member).fail("there is no such member; known are " + names);
  }
}

const Json* findMember(const Json& object, std::string_view member) {
  const auto found = object.find(member);
  return found == object.end() ? nullptr : &*found;
}

std::string textMember(const Json& object, std::string_view member, const SourcePlace& place) {
  const auto* value = findMember(object, member);
  return value == nullptr ? std::string() : requireText(*value, place / member);
}

bool flagMember(const Json& object, std::string_view member, const SourcePlace& place) {
  const auto* value = findMember(object, member);
  if (value == nullptr) return false;
  if (!value->is_boolean()) (place / member).fail("expected true or false");
  return value->get<bool>();
}

foundation::Value requireConstant(const Json& value, const SourcePlace& place) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>();
    case Json::value_t::number_integer:
      return value.get<std::int64_t>();
    case Json::value_t::number_float:
      return value.get<double>();
    case Json::value_t::string:
      return value.get<std::string>();
    case Json::value_t::number_unsigned:
      // What fits the signed kind reads as that; the rest is beyond any stored number.
      if (value.get<std::uint64_t>() <= INT64_MAX) return value.get<std::int64_t>();
      place.fail("the number is too large");
    case Json::value_t::null:
    case Json::value_t::object:
    case Json::value_t::array:
    case Json::value_t::binary:
    case Json::value_t::discarded:
      break;
  }
  place.fail("expected a number, a text, true or false");
}

}  // namespace coredata
