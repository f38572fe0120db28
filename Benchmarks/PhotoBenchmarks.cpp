#include <fcntl.h>

#include <memory>
#include <optional>
#include <stdexcept>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/ChildProcess.h"
#include "Benchmarks/Fixture.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "Foundation/Internal/FileSystem.h"

namespace benchmarks {

using coredatastack::CDCheckin;
using coredatastack::CDPhoto;
using coredatastack::CDPhotoInfo;
using foundation::make;

namespace {

constexpr int kPhotosInASave = 100;
/// However many photos there are.
constexpr double kMostMemoryMiB = 64;

/// Stores of both sides, closed, with a photo on each check-in.
class PhotoStores {
 public:
  explicit PhotoStores(const Workload& workload) : bytes_(workload.photoBytes) {
    fill(workload);
    for (const std::string& path : {ours(), byHand()}) forgetInMemory(path);
  }

  [[nodiscard]] std::string ours() const { return directory_.ourPath(); }
  [[nodiscard]] std::string byHand() const { return directory_.handWrittenPath(); }

 private:
  [[nodiscard]] std::vector<std::uint8_t> image(std::size_t number) const {
    return std::vector<std::uint8_t>(bytes_, static_cast<std::uint8_t>(number));
  }

  void fill(const Workload& workload) const {
    Fixture fixture(directory_, workload.activities, workload.photos / workload.activities);
    addOurs(fixture.ours());
    addByHand(fixture.byHand());
  }

  /// Takes a file that nobody has open out of the system's cache. People look at photos of long
  /// ago, which the system has read in large pieces; what was just written it has in single pages,
  /// in which it is found more slowly.
  static void forgetInMemory(const std::string& path) {
    const auto file = foundation::FileDescriptor::open(AT_FDCWD, path.c_str(), O_RDONLY);
    // Only what is on the disk is let go of.
    if (file && foundation::FileSystem::current().sync(file->get()) &&
        posix_fadvise(file->get(), 0, 0, POSIX_FADV_DONTNEED) == 0) {
      return;
    }
    throw std::runtime_error(path + " cannot be taken out of the system's cache");
  }

  void addOurs(const EngineStore& store) const {
    store.inBlock([&] {
      auto request = CDCheckin::fetchRequest();
      request.setFetchBatchSize(kPhotosInASave);
      const auto checkins = store.context().fetch(request);
      for (std::size_t number = 0; number < checkins.size(); ++number) {
        make<CDPhoto>(store.context(), foundation::Data(image(number)),
                      make<CDPhotoInfo>(store.context(), domain::PhotoInfo{}))
            ->setCheckin(checkins[number]);
        if (number % kPhotosInASave == 0) store.context().save();
      }
      store.context().save();
    });
  }

  void addByHand(HandWrittenStore& store) const {
    const std::int64_t count = store.countOfCheckins();
    store.begin();
    for (std::int64_t checkin = 1; checkin <= count; ++checkin) {
      store.insertPhoto(checkin, image(static_cast<std::size_t>(checkin)));
      if (checkin % kPhotosInASave != 0) continue;
      store.commit();
      store.begin();
    }
    store.commit();
  }

  StoreDirectory directory_;
  std::size_t bytes_;
};

/// What one program prints: the bytes that it saw, its memory and its time.
struct Look {
  std::int64_t bytes;
  double memoryMiB;
  double milliseconds;
};

Look lookOf(const char* side, const std::string& path) {
  const std::string text = outputOf({programBeside("benchmark_photos"), side, path});
  std::size_t end = 0;
  std::size_t last = 0;
  Look look{};
  look.bytes = std::stoll(text, &end);
  look.memoryMiB = std::stod(text.substr(end), &last);
  look.milliseconds = std::stod(text.substr(end + last));
  return look;
}

Run memoryOf(const Look& look) { return {Cost::of(look.memoryMiB), look.bytes}; }
Run timeOf(const Look& look) { return {Cost::of(look.milliseconds), look.bytes}; }

Look ourLook(const std::string& path) {
  const Look look = lookOf("ours", path);
  if (look.memoryMiB <= kMostMemoryMiB) return look;
  throw std::runtime_error("photos take " + std::to_string(look.memoryMiB) + " MiB");
}

}  // namespace

std::vector<Comparison> photos() {
  // One pair of stores for both, made when the first is asked for: they are large.
  auto stores = std::make_shared<std::shared_ptr<PhotoStores>>();
  const auto prepare = [stores](Run (*part)(const Look&)) {
    return [stores, part](const Workload& workload) {
      if (!*stores) *stores = std::make_shared<PhotoStores>(workload);
      const auto kept = *stores;
      return Sides{[=] { return part(ourLook(kept->ours())); },
                   [=] { return part(lookOf("by-hand", kept->byHand())); }};
    };
  };
  return {{"photos, time", "ms", 1.15, 9, Clock::processor, prepare(timeOf)},
          {"photos, memory", "MiB", 4, 5, Clock::processor, prepare(memoryOf)}};
}

}  // namespace benchmarks
