#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "Foundation/Files/Internal/DefaultsText.h"

/// The content of a settings file either is damaged or gives settings that are written and read
/// again unchanged. Texts are compared and not values: not-a-number is like nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto settings = foundation::defaultsInText(foundation::Data(std::span(data, size)));
  if (!settings) return 0;
  const auto written = foundation::defaultsText(*settings);
  const auto again = foundation::defaultsInText(written);
  if (!again || foundation::defaultsText(*again) != written) std::abort();
  return 0;
}
