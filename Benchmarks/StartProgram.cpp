// Does what an application does at its start, as far as the first object that it shows, and prints
// what that object tells and the microseconds that it took, without those of loading the program.

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "Benchmarks/Cost.h"
#include "Benchmarks/HandWrittenStore.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/Directories.h"
#include "Logger/StandardErrorLogger.h"

namespace {

using coredatastack::CDActivity;
using coredatastack::CoreDataConfiguration;
using coredatastack::CoreDataStack;
using foundation::make;
using foundation::Ref;

constexpr double kMicroseconds = 1e6;

class Start {
 public:
  explicit Start(const std::string& path)
      : stack_(make<CoreDataStack>(
            CoreDataConfiguration(CoreDataConfiguration::Stage::production, "Model",
                                  coredatastack::modelBundleIdentifier(), "", "", "benchmark",
                                  foundation::URL::fileURL(path), false),
            make<logger::StandardErrorLogger>())) {
    stack_->setup([](const auto& outcome) {
      if (!outcome) outcome.error()->raise();
    });
  }

  [[nodiscard]] std::int64_t lengthOfFirstTitle() const {
    auto request = CDActivity::fetchRequest();
    request.setFetchLimit(1);
    const auto activities = stack_->managedObjectContext()->fetch(request);
    return static_cast<std::int64_t>(activities[0]->title().value_or("").size());
  }

 private:
  Ref<CoreDataStack> stack_;
};

class HandWrittenStart {
 public:
  explicit HandWrittenStart(const std::string& path) : store_(path, benchmarks::Durability::full) {}

  [[nodiscard]] std::int64_t lengthOfFirstTitle() { return store_.lengthOfFirstTitle(); }

 private:
  benchmarks::HandWrittenStore store_;
};

template <typename Begun>
void measure(const std::string& path) {
  std::unique_ptr<Begun> begun;
  std::int64_t answer = 0;
  const benchmarks::Cost cost = benchmarks::costOf([&] {
    begun = std::make_unique<Begun>(path);
    answer = begun->lengthOfFirstTitle();
  });
  std::printf("%lld %.3f\n", static_cast<long long>(answer), cost.elapsed * kMicroseconds);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) return 2;
  try {
    foundation::Bundle::registerDirectory(foundation::URL::fileURL(BENCHMARK_RESOURCE_DIR));
    foundation::Directories::set(
        foundation::Directories::below(arguments[3], "com.tessaline.benchmark"));
    const bool isOurs = std::string_view(arguments[1]) == "ours";
    isOurs ? measure<Start>(arguments[2]) : measure<HandWrittenStart>(arguments[2]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
