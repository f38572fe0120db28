#include "Foundation/Text/Locale.h"

#include "Foundation/Text/Internal/Environment.h"

namespace foundation {

Locale::Locale(std::string_view identifier) : identifier_(canonicalLocale(identifier)) {}

Locale Locale::current() { return Locale(currentEnvironment().localeIdentifier); }

void Locale::setCurrent(const Locale& locale) {
  changeEnvironment({.locale = locale.identifier()});
}

}  // namespace foundation
