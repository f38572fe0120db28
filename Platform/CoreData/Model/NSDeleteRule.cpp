#include "CoreData/Model/NSDeleteRule.h"

namespace coredata {

std::string_view name(NSDeleteRule rule) noexcept {
  switch (rule) {
    case NSDeleteRule::noAction:
      return "noAction";
    case NSDeleteRule::nullify:
      return "nullify";
    case NSDeleteRule::cascade:
      return "cascade";
    case NSDeleteRule::deny:
      return "deny";
  }
  return "undefined";
}

std::optional<NSDeleteRule> deleteRuleNamed(std::string_view text) noexcept {
  for (const auto rule :
       {NSDeleteRule::noAction, NSDeleteRule::nullify, NSDeleteRule::cascade, NSDeleteRule::deny}) {
    if (name(rule) == text) return rule;
  }
  return std::nullopt;
}

}  // namespace coredata
