#include <array>
#include <charconv>
#include <cstdio>
#include <optional>

#include "CoreData/Model/Compiled/ByteReader.h"
#include "CoreData/Model/Compiled/Checksum.h"
#include "CoreData/Model/Compiled/CompiledModel.h"
#include "CoreData/Model/ModelError.h"

// file := `{"compiledModel": ` format `, "checksum": "` digits `", "model":` newline source `}`
// newline
//
// `format` is a decimal number, `digits` the CRC-32 of the source as eight hexadecimal digits in
// lower case, `source` the model's normal form with the newline at its end. The whole is JSON; the
// head is read as text, byte for byte, so that the checksum covers all the bytes there are.

namespace coredata {
namespace {

constexpr std::string_view kBeforeFormat = "{\"compiledModel\": ";
constexpr std::string_view kBeforeDigits = ", \"checksum\": \"";
constexpr std::string_view kBeforeSource = "\", \"model\":\n";
constexpr std::string_view kAfterSource = "}\n";
constexpr unsigned kFormat = 1;

std::string checksumDigits(std::string_view source) {
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned>(checksum(source)));
  return {digits.data(), 8};
}

void takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) ByteReader::fail("it does not begin as one");
  text.remove_prefix(prefix.size());
}

void takeFormat(std::string_view& text) {
  unsigned format = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), format);
  if (read.ec != std::errc() || format == 0 || text.front() == '0') {
    ByteReader::fail("it does not begin as one");
  }
  text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
  if (format == kFormat) return;
  throw modelError(ModelErrorCode::newerFormat, "The compiled model is in format " +
                                                    std::to_string(format) +
                                                    ", which a newer compiler writes.");
}

std::string_view takeDigits(std::string_view& text) {
  const auto digits = text.substr(0, 8);
  text.remove_prefix(digits.size());
  return digits;
}

std::string_view sourceText(std::string_view text) {
  takePrefix(text, kBeforeFormat);
  takeFormat(text);
  takePrefix(text, kBeforeDigits);
  const auto digits = takeDigits(text);
  takePrefix(text, kBeforeSource);
  if (!text.ends_with(kAfterSource)) ByteReader::fail("it ends too early");
  text.remove_suffix(kAfterSource.size());
  if (digits != checksumDigits(text)) ByteReader::fail("its checksum is wrong");
  return text;
}

}  // namespace

std::string readableForm(const CompiledModel& model) {
  const auto source = model.source.text();
  std::string text(kBeforeFormat);
  text += std::to_string(kFormat);
  text += kBeforeDigits;
  text += checksumDigits(source);
  text += kBeforeSource;
  text += source;
  text += kAfterSource;
  return text;
}

CompiledModel fromReadableForm(std::string_view text) {
  return compiled(ModelSource::parse(sourceText(text)));
}

}  // namespace coredata
