#include <algorithm>
#include <bit>

#include "CoreData/Model/Compiled/ByteReader.h"
#include "CoreData/Model/Compiled/ByteWriter.h"
#include "CoreData/Model/Compiled/CompiledModel.h"
#include "CoreData/Model/Compiled/Envelope.h"

// file          := envelope of "CDMO" around a model, see Envelope.h
// model         := fingerprint:32 count identifier:text* count entity* count configuration*
// entity        := name:text class:text renamedFrom:text flags:u8 hash:32
//                  count attribute* count relationship* count index*
// attribute     := name:text type:u16 flags:u8 default modifier:text renamedFrom:text
// default       := 0 | 1 boolean:u8 | 2 integer:u64 | 3 double:u64 | 4 text
// relationship  := name:text destination:text inverse:text flags:u8 deleteRule:u8 renamedFrom:text
// index         := name:text count property:text*
// configuration := name:text count entity:u16*
// text          := count bytes
// count         := u16
//
// Integers are little-endian, doubles their bits. Entities stand in the order of names; a
// configuration names them by their place there. Trailing bytes, unknown flags and unknown numbers
// are errors.

namespace coredata {
namespace {

using foundation::NSNumber;
using foundation::Value;

constexpr Envelope kEnvelope = {{'C', 'D', 'M', 'O'}, 1};

constexpr std::uint8_t kAbstract = 1;
constexpr std::uint8_t kOptional = 1;
constexpr std::uint8_t kScalar = 2;
constexpr std::uint8_t kTransient = 4;
constexpr std::uint8_t kToMany = 2;

enum class DefaultKind : std::uint8_t { none, boolean, integer, real, text };

// The least that an element of each list takes, by which counts are judged.
constexpr std::size_t kLeastText = 2;
constexpr std::size_t kLeastEntity = 3 * kLeastText + 1 + 32 + 3 * 2;
constexpr std::size_t kLeastAttribute = 3 * kLeastText + 2 + 1 + 1;
constexpr std::size_t kLeastRelationship = 4 * kLeastText + 2;
constexpr std::size_t kLeastIndex = kLeastText + 2;
constexpr std::size_t kLeastConfiguration = kLeastText + 2;

constexpr std::uint8_t flag(bool isSet, std::uint8_t bit) { return isSet ? bit : std::uint8_t{0}; }

class Writer {
 public:
  explicit Writer(const CompiledModel& model) : model_(model) {}

  std::vector<std::uint8_t> write() && {
    bytes_.addBytes(model_.hashes.fingerprint);
    addTexts(model_.source.identifiers);
    const auto& entities = model_.source.entities;
    bytes_.addCount(entities.size());
    for (std::size_t i = 0; i < entities.size(); ++i) add(entities[i], model_.hashes.entities[i]);
    addEach(model_.source.configurations);
    return sealed(kEnvelope, bytes_.bytes());
  }

 private:
  template <typename Element>
  void addEach(const std::vector<Element>& list) {
    bytes_.addCount(list.size());
    for (const auto& element : list) add(element);
  }

  void addTexts(const std::vector<std::string>& texts) {
    bytes_.addCount(texts.size());
    for (const auto& text : texts) bytes_.addText(text);
  }

  void add(const EntitySource& entity, const VersionHash& hash) {
    bytes_.addText(entity.name);
    bytes_.addText(entity.className);
    bytes_.addText(entity.renamedFrom);
    bytes_.add(flag(entity.abstract, kAbstract));
    bytes_.addBytes(hash);
    addEach(entity.attributes);
    addEach(entity.relationships);
    addEach(entity.indexes);
  }

  void add(const AttributeSource& attribute) {
    bytes_.addText(attribute.name);
    bytes_.add(static_cast<std::uint16_t>(attribute.type));
    bytes_.add(static_cast<std::uint8_t>(flag(attribute.optional, kOptional) |
                                         flag(attribute.scalar, kScalar) |
                                         flag(attribute.transient, kTransient)));
    add(attribute.defaultValue);
    bytes_.addText(attribute.hashModifier);
    bytes_.addText(attribute.renamedFrom);
  }

  void add(const Value& value) {
    if (const auto* text = value.text()) {
      addKind(DefaultKind::text);
      bytes_.addText(*text);
    } else if (const auto* number = value.number()) {
      add(*number);
    } else {
      addKind(DefaultKind::none);
    }
  }

  void add(const NSNumber& number) {
    switch (number.kind()) {
      case NSNumber::Kind::boolean:
        addKind(DefaultKind::boolean);
        return bytes_.add(std::uint8_t{number.boolValue()});
      case NSNumber::Kind::integer:
        addKind(DefaultKind::integer);
        return bytes_.add(std::bit_cast<std::uint64_t>(number.int64Value()));
      case NSNumber::Kind::real:
        addKind(DefaultKind::real);
        return bytes_.add(std::bit_cast<std::uint64_t>(number.doubleValue()));
    }
  }

  void addKind(DefaultKind kind) { bytes_.add(static_cast<std::uint8_t>(kind)); }

  void add(const RelationshipSource& relationship) {
    bytes_.addText(relationship.name);
    bytes_.addText(relationship.destination);
    bytes_.addText(relationship.inverse);
    bytes_.add(static_cast<std::uint8_t>(flag(relationship.optional, kOptional) |
                                         flag(relationship.toMany, kToMany)));
    bytes_.add(static_cast<std::uint8_t>(relationship.deleteRule));
    bytes_.addText(relationship.renamedFrom);
  }

  void add(const IndexSource& index) {
    bytes_.addText(index.name);
    addTexts(index.properties);
  }

  void add(const ConfigurationSource& configuration) {
    bytes_.addText(configuration.name);
    bytes_.addCount(configuration.entities.size());
    for (const auto& name : configuration.entities) {
      const auto found =
          std::ranges::lower_bound(model_.source.entities, name, {}, &EntitySource::name);
      bytes_.add(static_cast<std::uint16_t>(found - model_.source.entities.begin()));
    }
  }

  const CompiledModel& model_;
  ByteWriter bytes_;
};

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  CompiledModel read() && {
    model_.hashes.fingerprint = readHash();
    readList(model_.source.identifiers, kLeastText, &Reader::readText);
    readList(model_.source.entities, kLeastEntity, &Reader::readEntity);
    if (!std::ranges::is_sorted(model_.source.entities, {}, &EntitySource::name)) {
      ByteReader::fail("its entities are out of order");
    }
    readList(model_.source.configurations, kLeastConfiguration, &Reader::readConfiguration);
    if (!bytes_.isAtEnd()) ByteReader::fail("something follows its end");
    return std::move(model_);
  }

 private:
  template <typename Element>
  void readList(std::vector<Element>& list, std::size_t leastSize,
                void (Reader::*readElement)(Element&)) {
    list.resize(bytes_.takeCount(leastSize));
    for (auto& element : list) (this->*readElement)(element);
  }

  void readText(std::string& text) { text = bytes_.takeText(); }

  VersionHash readHash() {
    VersionHash hash{};
    std::ranges::copy(bytes_.takeBytes(hash.size()), hash.begin());
    return hash;
  }

  std::uint8_t readFlags(std::uint8_t known) {
    const auto flags = bytes_.take<std::uint8_t>();
    if ((flags & ~known) != 0) ByteReader::fail("it holds unknown flags");
    return flags;
  }

  void readEntity(EntitySource& entity) {
    readText(entity.name);
    readText(entity.className);
    readText(entity.renamedFrom);
    entity.abstract = readFlags(kAbstract) != 0;
    model_.hashes.entities.push_back(readHash());
    readList(entity.attributes, kLeastAttribute, &Reader::readAttribute);
    readList(entity.relationships, kLeastRelationship, &Reader::readRelationship);
    readList(entity.indexes, kLeastIndex, &Reader::readIndex);
  }

  void readAttribute(AttributeSource& attribute) {
    readText(attribute.name);
    const auto type = attributeTypeNumbered(bytes_.take<std::uint16_t>());
    if (!type) ByteReader::fail("it holds an unknown type");
    attribute.type = *type;
    const auto flags = readFlags(kOptional | kScalar | kTransient);
    attribute.optional = (flags & kOptional) != 0;
    attribute.scalar = (flags & kScalar) != 0;
    attribute.transient = (flags & kTransient) != 0;
    attribute.defaultValue = readDefault();
    readText(attribute.hashModifier);
    readText(attribute.renamedFrom);
  }

  Value readDefault() {
    switch (static_cast<DefaultKind>(bytes_.take<std::uint8_t>())) {
      case DefaultKind::none:
        return {};
      case DefaultKind::boolean:
        return readFlags(1) != 0;
      case DefaultKind::integer:
        return std::bit_cast<std::int64_t>(bytes_.take<std::uint64_t>());
      case DefaultKind::real:
        return std::bit_cast<double>(bytes_.take<std::uint64_t>());
      case DefaultKind::text:
        return std::string(bytes_.takeText());
    }
    ByteReader::fail("it holds an unknown kind of default");
  }

  void readRelationship(RelationshipSource& relationship) {
    readText(relationship.name);
    readText(relationship.destination);
    readText(relationship.inverse);
    const auto flags = readFlags(kOptional | kToMany);
    relationship.optional = (flags & kOptional) != 0;
    relationship.toMany = (flags & kToMany) != 0;
    const auto rule = bytes_.take<std::uint8_t>();
    if (rule > static_cast<std::uint8_t>(NSDeleteRule::deny)) {
      ByteReader::fail("it holds an unknown delete rule");
    }
    relationship.deleteRule = static_cast<NSDeleteRule>(rule);
    readText(relationship.renamedFrom);
  }

  void readIndex(IndexSource& index) {
    readText(index.name);
    readList(index.properties, kLeastText, &Reader::readText);
  }

  void readConfiguration(ConfigurationSource& configuration) {
    readText(configuration.name);
    readList(configuration.entities, sizeof(std::uint16_t), &Reader::readEntityName);
  }

  void readEntityName(std::string& name) {
    const std::size_t place = bytes_.take<std::uint16_t>();
    if (place >= model_.source.entities.size()) {
      ByteReader::fail("a configuration names an entity that is not there");
    }
    name = model_.source.entities[place].name;
  }

  ByteReader bytes_;
  CompiledModel model_;
};

}  // namespace

std::vector<std::uint8_t> optimizedForm(const CompiledModel& model) {
  return Writer(model).write();
}

CompiledModel fromOptimizedForm(std::span<const std::uint8_t> bytes) {
  return Reader(unsealed(kEnvelope, bytes)).read();
}

}  // namespace coredata
