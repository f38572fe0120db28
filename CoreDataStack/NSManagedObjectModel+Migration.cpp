#include "CoreDataStack/NSManagedObjectModel+Migration.h"

#include <cstdio>
#include <optional>
#include <string>

#include "CoreDataStack/BuildIdentifiers.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using foundation::Bundle;
using foundation::Ref;
using foundation::URL;

namespace {

// Crash reports are grouped by these positions. They are not this file's and never change.
constexpr std::string_view kModelSource = "CoreDataStack/NSManagedObjectModel+Migration";
constexpr int kNotFoundLine = 15;
constexpr int kNotLoadedLine = 19;

constexpr std::string_view kModelDirectory = "Model.momd";

std::optional<URL> compiledModel(std::string_view version) {
  const std::optional<Bundle> bundle = Bundle::withIdentifier(modelBundleIdentifier());
  if (!bundle) return std::nullopt;
  if (auto optimised = bundle->url(version, "omo", kModelDirectory)) return optimised;
  return bundle->url(version, "mom", kModelDirectory);
}

}  // namespace

Ref<const NSManagedObjectModel> model(std::string_view named) {
  const std::optional<URL> url = compiledModel(named);
  if (!url) {
    foundation::fatalError("unable to find model in bundle", kModelSource, kNotFoundLine);
  }
  std::string why;
  Ref<const NSManagedObjectModel> model = NSManagedObjectModel::contentsOf(*url, &why);
  if (!model) {
    // The text of the stop is fixed, and says nothing of the disk.
    std::fprintf(stderr, "%s\n", why.c_str());
    foundation::fatalError("unable to load model in bundle", kModelSource, kNotLoadedLine);
  }
  return model;
}

}  // namespace coredatastack
