#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "Foundation/Json/NSJSONSerialization.h"
#include "Foundation/Values/Error.h"

/// Reading either refuses the bytes or gives a value that is written and read again unchanged.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using foundation::NSJSONSerialization;
  foundation::Value value;
  try {
    value = NSJSONSerialization::JSONObject(foundation::Data(std::span(data, size)));
  } catch (const foundation::Error&) {
    return 0;
  }
  const auto written = NSJSONSerialization::data(value);
  if (NSJSONSerialization::JSONObject(written) != value) std::abort();
  return 0;
}
