#pragma once

#include <optional>
#include <string>

#include "CoreData/Migration/NSEntityMigrationPolicy.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Data.h"
#include "Foundation/Values/URL.h"

namespace coredatastack {

/// What the step from version 6 to version 7 needs beyond a mapping: values where version 6 left
/// none, the photos out of their files into the store, and a widget group for the widgets that
/// version 6 had without one. See docs/migration.md.
class MurtelleMigrationPolicyV6toV7 final : public coredata::NSEntityMigrationPolicy {
 public:
  static constexpr std::string_view kClassName = "MurtelleMigrationPolicyV6toV7";
  // Entity mappings that it knows by name.
  static constexpr std::string_view kPhotos = "PhotoToPhoto";
  static constexpr std::string_view kActivities = "ActivityToActivity";

  /// Makes the class known to mapping models. May be repeated.
  static void registerClass();

  MurtelleMigrationPolicyV6toV7();

  /// The JSON text `{"filename": ...}` by which a photo's file name travels in the attribute for
  /// its bytes until the end of the mapping. Prints the error and gives none where that fails.
  [[nodiscard]] static std::optional<foundation::Data> transformStringToData(
      const std::optional<std::string>& filename);
  /// `transformStringToData:`.
  [[nodiscard]] foundation::Value perform(std::string_view selector,
                                          std::span<const foundation::Value> arguments) override;

  void createDestinationInstances(coredata::NSManagedObject& sourceInstance,
                                  const coredata::NSEntityMapping& mapping,
                                  coredata::NSMigrationManager& manager) override;
  void endEntityMapping(const coredata::NSEntityMapping& mapping,
                        coredata::NSMigrationManager& manager) override;

 private:
  ~MurtelleMigrationPolicyV6toV7() override = default;

  /// Reads the file of each photo into the store, a hundred at a time, and sets the files aside.
  void foldPhotos(coredata::NSMigrationManager& manager) const;
  /// Replaces a photo's file name by the file's bytes. The name; none where there is nothing to do.
  [[nodiscard]] std::optional<std::string> fold(coredata::NSManagedObject& photo) const;
  /// Puts every active widget of version 6 into one widget group.
  static void addMainWidgetGroup(coredata::NSMigrationManager& manager);

  foundation::FileManager& fileManager_;
  /// The container that the application and its extensions share, where photos lie; none when this
  /// process has none.
  std::optional<foundation::URL> baseURL_;
};

}  // namespace coredatastack
