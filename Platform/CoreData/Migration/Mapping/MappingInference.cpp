#include "CoreData/Migration/Mapping/MappingInference.h"

#include <algorithm>

#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "CoreData/Migration/Mapping/PropertyInference.h"

namespace coredata {
namespace {

std::string versionName(const NSManagedObjectModel& model) {
  const auto& identifiers = model.versionIdentifiers();
  return identifiers.empty() ? std::string() : *identifiers.begin();
}

/// Whether an expression is the source's property of that name, for relationships seen through the
/// look-up of what became of it.
bool carriesOver(const MappingExpression& expression, std::string_view name) {
  if (const auto* call = expression.function()) {
    return call->selector == kDestinationInstancesSelector &&
           carriesOver(call->arguments.back(), name);
  }
  const auto* path = expression.keyPath();
  return path != nullptr && path->variable == MappingExpression::Variable::source &&
         path->keys.size() == 1 && path->keys.front() == name;
}

bool isCarriedOver(const std::vector<NSPropertyMapping>& mappings, std::string_view name) {
  const auto found = std::ranges::find(mappings, name, &NSPropertyMapping::name);
  return found != mappings.end() && found->absentReplacement().isNone() &&
         carriesOver(found->valueExpression(), name);
}

bool isCopy(const EntityMappingContent& mapping, const NSEntityDescription& destination) {
  if (mapping.sourceHash != mapping.destinationHash) return false;
  return std::ranges::all_of(destination.slots(), [&](const Slot& slot) {
    return isCarriedOver(slot.attribute != nullptr ? mapping.attributes : mapping.relationships,
                         slot.property->name());
  });
}

}  // namespace

MappingContent emptyContent(const NSManagedObjectModel& source,
                            const NSManagedObjectModel& destination) {
  return {versionName(source),
          versionName(destination),
          source.fingerprint(),
          destination.fingerprint(),
          {}};
}

NSEntityMappingType mappingType(const EntityMappingContent& mapping, const EntityPair& pair) {
  if (mapping.policyClass) return NSEntityMappingType::custom;
  if (pair.source == nullptr) return NSEntityMappingType::add;
  if (pair.destination == nullptr) return NSEntityMappingType::remove;
  return isCopy(mapping, *pair.destination) ? NSEntityMappingType::copy
                                            : NSEntityMappingType::transform;
}

void throwReasons(const InferenceReasons& reasons, const MappingContent& mapping) {
  if (reasons.empty()) return;
  std::string message = "The mapping from \"" + mapping.sourceVersion + "\" to \"" +
                        mapping.destinationVersion + "\" cannot be inferred: ";
  for (const auto& reason : reasons) message += (&reason == &reasons.front() ? "" : "; ") + reason;
  throw mappingError(MappingErrorCode::cannotInfer, message + ".");
}

MappingContent inferredContent(const NSManagedObjectModel& source,
                               const NSManagedObjectModel& destination) {
  auto content = emptyContent(source, destination);
  InferenceReasons reasons;
  EntityPairs pairs(source, destination);
  pairs.inferRest(0, reasons);
  PropertyInference inference(pairs, reasons);
  for (const auto& pair : pairs.all()) {
    auto mapping = emptyMapping(pair);
    inference.infer(pair, mapping);
    mapping.type = mappingType(mapping, pair);
    content.entityMappings.push_back(std::move(mapping));
  }
  throwReasons(reasons, content);
  return content;
}

foundation::Ref<const NSMappingModel> NSMappingModel::inferredMappingModel(
    const NSManagedObjectModel& forSourceModel, const NSManagedObjectModel& destinationModel) {
  return foundation::make<NSMappingModel>(inferredContent(forSourceModel, destinationModel));
}

}  // namespace coredata
