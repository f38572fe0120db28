#include "Tools/storecheck/Finding.h"

namespace storecheck {

std::string_view name(FindingKind kind) noexcept {
  switch (kind) {
    case FindingKind::integrity:
      return "integrity";
    case FindingKind::unreadable:
      return "unreadable";
    case FindingKind::schema:
      return "schema";
    case FindingKind::indexes:
      return "indexes";
    case FindingKind::identifier:
      return "identifier";
    case FindingKind::rowKey:
      return "row key";
    case FindingKind::rowVersion:
      return "row version";
    case FindingKind::wrongKind:
      return "wrong kind";
    case FindingKind::absentValue:
      return "absent value";
    case FindingKind::dangling:
      return "dangling";
    case FindingKind::disagreement:
      return "disagreement";
    case FindingKind::sharedPart:
      return "shared part";
    case FindingKind::orphan:
      return "orphan";
    case FindingKind::noDay:
      return "no day";
    case FindingKind::noMonth:
      return "no month";
    case FindingKind::sameDay:
      return "same day";
    case FindingKind::malformedHistory:
      return "malformed history";
    case FindingKind::stampOrder:
      return "stamp order";
    case FindingKind::lostTransaction:
      return "lost transaction";
    case FindingKind::unknownName:
      return "unknown name";
    case FindingKind::returned:
      return "returned";
    case FindingKind::reusableKey:
      return "reusable key";
    case FindingKind::mark:
      return "mark";
  }
  return "";
}

}  // namespace storecheck
