#include "CoreData/Migration/Mapping/Compiler/MappingExpansion.h"

#include <algorithm>
#include <utility>

#include "CoreData/Migration/Mapping/AttributeConstant.h"
#include "CoreData/Migration/Mapping/MappingChecks.h"
#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Migration/Mapping/MappingInference.h"
#include "CoreData/Migration/Mapping/PropertyInference.h"

namespace coredata {
namespace {

using foundation::Value;

const NSEntityDescription* requireEntity(const NSManagedObjectModel& model,
                                         const std::string& version, const std::string& name) {
  if (name.empty()) return nullptr;
  if (const auto* entity = model.entity(name)) return entity;
  throw mappingError(MappingErrorCode::invalidMapping,
                     "There is no entity \"" + name + "\" in \"" + version + "\".");
}

void addNames(const std::vector<NSPropertyMapping>& properties, EntityPair& pair) {
  for (const auto& property : properties) pair.writtenProperties.insert(property.name());
}

/// A constant that the attribute holds, in the attribute's own kind; others stay for the checks.
Value inOwnKind(const Value& constant, const NSAttributeDescription* attribute) {
  if (attribute == nullptr) return constant;
  return constantOfType(constant, attribute->attributeType()).value_or(constant);
}

NSPropertyMapping inOwnKind(const NSPropertyMapping& property, const EntityPair& pair) {
  const auto* attribute =
      pair.destination == nullptr ? nullptr : pair.destination->attribute(property.name());
  const auto* constant = property.valueExpression().constant();
  return {property.name(),
          constant == nullptr ? property.valueExpression()
                              : MappingExpression(inOwnKind(*constant, attribute)),
          inOwnKind(property.absentReplacement(), attribute)};
}

class Expansion {
 public:
  Expansion(const MappingSource& mapping, const NSManagedObjectModel& source,
            const NSManagedObjectModel& destination)
      : mapping_(mapping),
        source_(source),
        destination_(destination),
        pairs_(source, destination),
        content_(emptyContent(source, destination)) {
    content_.sourceVersion = mapping.source;
    content_.destinationVersion = mapping.destination;
  }

  MappingContent expand() && {
    for (const auto& written : mapping_.entityMappings) pairs_.add(pairOf(written));
    if (mapping_.restPlace) pairs_.inferRest(*mapping_.restPlace, reasons_);
    PropertyInference inference(pairs_, reasons_);
    for (const auto& pair : pairs_.all()) {
      auto mapping = emptyMapping(pair);
      if (const auto* written = writtenAs(pair)) addWritten(*written, pair, mapping);
      inference.infer(pair, mapping);
      std::ranges::sort(mapping.attributes, {}, &NSPropertyMapping::name);
      std::ranges::sort(mapping.relationships, {}, &NSPropertyMapping::name);
      mapping.type = mappingType(mapping, pair);
      content_.entityMappings.push_back(std::move(mapping));
    }
    throwReasons(reasons_, content_);
    checkMapping(content_, source_, destination_);
    return std::move(content_);
  }

 private:
  [[nodiscard]] EntityPair pairOf(const EntityMappingSource& written) const {
    EntityPair pair;
    pair.source = requireEntity(source_, mapping_.source, written.source);
    pair.destination = requireEntity(destination_, mapping_.destination, written.destination);
    pair.name = written.name.empty() ? usualName(pair.source, pair.destination) : written.name;
    pair.infersProperties = written.infersRest;
    addNames(written.attributes, pair);
    addNames(written.relationships, pair);
    return pair;
  }

  /// What the pair was made from, or null for one that was inferred: these stand together.
  [[nodiscard]] const EntityMappingSource* writtenAs(const EntityPair& pair) const {
    const auto place = static_cast<std::size_t>(&pair - pairs_.all().data());
    const auto inferred = pairs_.all().size() - mapping_.entityMappings.size();
    const auto restPlace = mapping_.restPlace.value_or(pairs_.all().size());
    if (place < restPlace) return &mapping_.entityMappings[place];
    return place < restPlace + inferred ? nullptr : &mapping_.entityMappings[place - inferred];
  }

  static void addWritten(const EntityMappingSource& written, const EntityPair& pair,
                         EntityMappingContent& mapping) {
    if (!written.policy.empty()) mapping.policyClass = written.policy;
    for (const auto& property : written.attributes) {
      mapping.attributes.push_back(inOwnKind(property, pair));
    }
    mapping.relationships = written.relationships;
  }

  const MappingSource& mapping_;
  const NSManagedObjectModel& source_;
  const NSManagedObjectModel& destination_;
  EntityPairs pairs_;
  InferenceReasons reasons_;
  MappingContent content_;
};

}  // namespace

MappingContent expanded(const MappingSource& mapping, const NSManagedObjectModel& source,
                        const NSManagedObjectModel& destination) {
  return Expansion(mapping, source, destination).expand();
}

}  // namespace coredata
