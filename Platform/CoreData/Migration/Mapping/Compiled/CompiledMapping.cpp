#include "CoreData/Migration/Mapping/Compiled/CompiledMapping.h"

#include <algorithm>
#include <utility>

#include "CoreData/Migration/Mapping/MappingChecks.h"
#include "CoreData/Model/Compiled/ByteReader.h"
#include "CoreData/Model/Compiled/ByteWriter.h"
#include "CoreData/Model/Compiled/Envelope.h"
#include "CoreData/Model/Compiled/FileReading.h"
#include "CoreData/Model/Compiled/Utf8.h"

// file     := envelope of "CDMM" around a mapping, see Model/Compiled/Envelope.h
// mapping  := source:version destination:version count entity*
// version  := name:text fingerprint:32
// entity   := name:text type:u8 parts:u8 (name:text hash:32)? (name:text hash:32)? policy:text?
//             count attribute:property* count relationship:property*
// parts    := 1 source | 2 destination | 4 policy
// property := name:text value:text absentReplacement:text
// text     := count bytes
// count    := u16
//
// Integers are little-endian, texts UTF-8. Expressions stand as the texts that they print as; the
// replacement is a constant among them, or empty when there is none. Entity mappings stand in the
// order in which a migration goes through them, properties in the order of names. Trailing bytes,
// unknown types and unknown parts are errors.

namespace coredata {
namespace {

constexpr Envelope kEnvelope = {{'C', 'D', 'M', 'M'}, 1};

constexpr std::uint8_t kHasSource = 1;
constexpr std::uint8_t kHasDestination = 2;
constexpr std::uint8_t kHasPolicy = 4;

// The least that an element of each list takes, by which counts are judged.
constexpr std::size_t kLeastText = 2;
constexpr std::size_t kLeastProperty = 3 * kLeastText;
constexpr std::size_t kLeastEntity = kLeastText + 2 + kLeastText + 32 + 2 * 2;

class Writer {
 public:
  std::vector<std::uint8_t> write(const MappingContent& content) && {
    bytes_.addText(content.sourceVersion);
    bytes_.addBytes(content.sourceFingerprint);
    bytes_.addText(content.destinationVersion);
    bytes_.addBytes(content.destinationFingerprint);
    bytes_.addCount(content.entityMappings.size());
    for (const auto& mapping : content.entityMappings) add(mapping);
    return sealed(kEnvelope, bytes_.bytes());
  }

 private:
  void add(const EntityMappingContent& mapping) {
    bytes_.addText(mapping.name);
    bytes_.add(static_cast<std::uint8_t>(mapping.type));
    bytes_.add(static_cast<std::uint8_t>((mapping.sourceEntity ? kHasSource : 0) |
                                         (mapping.destinationEntity ? kHasDestination : 0) |
                                         (mapping.policyClass ? kHasPolicy : 0)));
    if (mapping.sourceEntity) addEntity(*mapping.sourceEntity, *mapping.sourceHash);
    if (mapping.destinationEntity) addEntity(*mapping.destinationEntity, *mapping.destinationHash);
    if (mapping.policyClass) bytes_.addText(*mapping.policyClass);
    add(mapping.attributes);
    add(mapping.relationships);
  }

  void addEntity(const std::string& name, const VersionHash& hash) {
    bytes_.addText(name);
    bytes_.addBytes(hash);
  }

  void add(const std::vector<NSPropertyMapping>& properties) {
    bytes_.addCount(properties.size());
    for (const auto& property : properties) {
      const auto& replacement = property.absentReplacement();
      bytes_.addText(property.name());
      bytes_.addText(property.valueExpression().description());
      bytes_.addText(replacement.isNone() ? "" : MappingExpression(replacement).description());
    }
  }

  ByteWriter bytes_;
};

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  MappingContent read() && {
    MappingContent content;
    content.sourceVersion = readText();
    content.sourceFingerprint = readHash();
    content.destinationVersion = readText();
    content.destinationFingerprint = readHash();
    const auto count = bytes_.takeCount(kLeastEntity);
    content.entityMappings.reserve(count);
    for (std::size_t i = 0; i < count; ++i) content.entityMappings.push_back(readEntity());
    if (!bytes_.isAtEnd()) ByteReader::fail("something follows its end");
    return content;
  }

 private:
  std::string readText() {
    const auto text = bytes_.takeText();
    if (!isWellFormedUtf8(text)) ByteReader::fail("it holds a text that is not UTF-8");
    return std::string(text);
  }

  VersionHash readHash() {
    VersionHash hash{};
    std::ranges::copy(bytes_.takeBytes(hash.size()), hash.begin());
    return hash;
  }

  EntityMappingContent readEntity() {
    EntityMappingContent mapping;
    mapping.name = readText();
    mapping.type = readType();
    const auto parts = bytes_.take<std::uint8_t>();
    if ((parts & ~(kHasSource | kHasDestination | kHasPolicy)) != 0) {
      ByteReader::fail("it holds unknown parts");
    }
    if ((parts & kHasSource) != 0) readSide(mapping.sourceEntity, mapping.sourceHash);
    if ((parts & kHasDestination) != 0) {
      readSide(mapping.destinationEntity, mapping.destinationHash);
    }
    if ((parts & kHasPolicy) != 0) mapping.policyClass = readText();
    mapping.attributes = readProperties();
    mapping.relationships = readProperties();
    return mapping;
  }

  NSEntityMappingType readType() {
    const auto number = bytes_.take<std::uint8_t>();
    if (number < static_cast<std::uint8_t>(NSEntityMappingType::custom) ||
        number > static_cast<std::uint8_t>(NSEntityMappingType::transform)) {
      ByteReader::fail("it holds an unknown type of entity mapping");
    }
    return static_cast<NSEntityMappingType>(number);
  }

  void readSide(std::optional<std::string>& name, std::optional<VersionHash>& hash) {
    name = readText();
    hash = readHash();
  }

  std::vector<NSPropertyMapping> readProperties() {
    const auto count = bytes_.takeCount(kLeastProperty);
    std::vector<NSPropertyMapping> properties;
    properties.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      auto name = readText();
      auto value = readExpression(readText());
      properties.emplace_back(std::move(name), std::move(value), readReplacement());
    }
    return properties;
  }

  /// Only what printing gives: one expression has one form here.
  static MappingExpression readExpression(const std::string& text) {
    auto expression = MappingExpression::parse(text);
    if (expression.description() != text) {
      ByteReader::fail("it holds an expression that nobody printed");
    }
    return expression;
  }

  foundation::Value readReplacement() {
    const auto text = readText();
    if (text.empty()) return {};
    const auto expression = readExpression(text);
    const auto* constant = expression.constant();
    if (constant == nullptr || constant->isNone()) {
      ByteReader::fail("what stands in for an absent value is no constant");
    }
    return *constant;
  }

  ByteReader bytes_;
};

}  // namespace

std::vector<std::uint8_t> compiledForm(const MappingContent& content) {
  return Writer().write(content);
}

MappingContent fromCompiledForm(std::span<const std::uint8_t> bytes) {
  auto content = Reader(unsealed(kEnvelope, bytes)).read();
  checkForm(content);
  return content;
}

MappingContent readCompiledMapping(const foundation::URL& url) {
  const auto bytes = readFile(url, "mapping");
  return namingFile(url, [&] { return fromCompiledForm(bytes); });
}

}  // namespace coredata
