#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>
#include <vector>

#include "CoreData/Migration/Mapping/Compiled/CompiledMapping.h"
#include "CoreData/Migration/Mapping/Compiler/MappingExpansion.h"
#include "CoreData/Migration/Mapping/MappingSource.h"
#include "CoreData/Model/Compiled/Envelope.h"
#include "CoreData/Model/ModelBuilder.h"
#include "Foundation/Values/Error.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Model = foundation::Ref<coredata::NSManagedObjectModel>;

constexpr std::size_t kLongestInput = 16 * 1024;

/// By it the input is tried as the inside of a file, so that the fuzzer need not find the checksum.
constexpr coredata::Envelope kEnvelope = {{'C', 'D', 'M', 'M'}, 1};

/// Two versions for mappings to lead between, named "1" and "2".
const Model& source() {
  static const Model model = coredata::modelFromSource(R"({"entities": {
      "A": {"attributes": {"t": "text", "n": "integer16", "d": "date"},
            "relationships": {"b": {"toOne": "B", "inverse": "as"}}},
      "B": {"relationships": {"as": {"toMany": "A", "inverse": "b"}}}}})");
  return model;
}

const Model& destination() {
  static const Model model = coredata::modelFromSource(R"({"entities": {
      "A": {"attributes": {"t": {"type": "required text", "default": "x"}, "n": "double",
                           "u": "required uuid"},
            "relationships": {"b": {"toOne": "B", "inverse": "as"}}},
      "B": {"relationships": {"as": {"toMany": "A", "inverse": "b"}}}, "C": {}}})");
  return model;
}

void readCompiled(const Bytes& file) {
  try {
    const auto mapping = coredata::fromCompiledForm(file);
    if (coredata::compiledForm(mapping) != file) std::abort();
    const auto text = sourceOf(mapping).text();
    if (coredata::MappingSource::parse(text).text() != text) std::abort();
  } catch (const foundation::Error&) {
    // A file may be bad; it may only not do harm.
  }
}

void readExpression(std::string_view text) {
  try {
    const auto expression = coredata::MappingExpression::parse(text);
    const auto printed = expression.description();
    if (coredata::MappingExpression::parse(printed) != expression) std::abort();
    if (coredata::MappingExpression::parse(printed).description() != printed) std::abort();
  } catch (const foundation::Error&) {
    // As above.
  }
}

/// Whatever fits both models must come back from its compiled form as it went in.
void compileSource(std::string_view json) {
  try {
    const auto written = coredata::MappingSource::parse(json);
    if (coredata::MappingSource::parse(written.text()) != written) std::abort();
    const auto mapping = coredata::expanded(written, *source(), *destination());
    if (coredata::fromCompiledForm(coredata::compiledForm(mapping)) != mapping) std::abort();
  } catch (const foundation::Error&) {
    // As above.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const std::span input(data, size);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  readCompiled(Bytes(input.begin(), input.end()));
  readCompiled(coredata::sealed(kEnvelope, input));
  readExpression(text);
  compileSource(text);
  return 0;
}
