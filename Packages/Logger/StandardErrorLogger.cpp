#include "Logger/StandardErrorLogger.h"

#include <cstdio>
#include <exception>
#include <string>

namespace logger {

void StandardErrorLogger::error(const foundation::Error& error) noexcept {
  try {
    const std::string line = error.description() + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
  } catch (const std::exception&) {
    // Out of memory for the text: the static one is better than none.
    std::fputs("an error could not be written\n", stderr);
  }
}

}  // namespace logger
