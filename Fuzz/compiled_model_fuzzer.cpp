#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>
#include <vector>

#include "CoreData/Model/Compiled/Checksum.h"
#include "CoreData/Model/Compiled/CompiledModel.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/Model/ModelSource.h"
#include "Foundation/Values/Error.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kLongestInput = 16 * 1024;

/// The input as the inside of an optimised model: with the right head and the checksum that fits,
/// so that the fuzzer need not find them.
Bytes sealed(std::span<const std::uint8_t> inside) {
  Bytes file = {'C', 'D', 'M', 'O', 1, 0};
  file.insert(file.end(), inside.begin(), inside.end());
  const auto sum = coredata::checksum(file);
  for (int shift = 0; shift < 32; shift += 8)
    file.push_back(static_cast<std::uint8_t>(sum >> shift));
  return file;
}

void readOptimized(const Bytes& file) {
  try {
    auto model = coredata::fromOptimizedForm(file);
    if (coredata::optimizedForm(model) != file) std::abort();
    static_cast<void>(coredata::ModelBuilder::build(std::move(model.source), model.hashes));
  } catch (const foundation::Error&) {
    // A file may be bad; it may only not do harm.
  }
}

void readReadable(std::string_view text) {
  try {
    static_cast<void>(coredata::fromReadableForm(text));
  } catch (const foundation::Error&) {
    // As above.
  }
}

/// Whatever compiles must come back from both forms as it went in.
void compileSource(std::string_view json) {
  try {
    const auto model = coredata::compiled(coredata::ModelSource::parse(json));
    if (coredata::fromOptimizedForm(coredata::optimizedForm(model)) != model) std::abort();
    if (coredata::fromReadableForm(coredata::readableForm(model)) != model) std::abort();
  } catch (const foundation::Error&) {
    // As above.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const std::span input(data, size);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  readOptimized(Bytes(input.begin(), input.end()));
  readOptimized(sealed(input));
  readReadable(text);
  compileSource(text);
  return 0;
}
