#pragma once

#include <cstdint>

#include "Foundation/Values/Error.h"

namespace support {

/// The code of the error that `work` throws; 0 when it throws none.
template <typename Work>
[[nodiscard]] std::int64_t errorCode(Work&& work) {
  try {
    work();
  } catch (const foundation::Error& error) {
    return error.code();
  }
  return 0;
}

/// The number of a code, to compare with.
template <typename Code>
[[nodiscard]] constexpr std::int64_t number(Code code) noexcept {
  return static_cast<std::int64_t>(code);
}

}  // namespace support
