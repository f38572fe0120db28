// Opens a store, lists all its photos by day, looks at some pages of them, and prints how many
// bytes it saw, the memory in MiB that it took at its peak beyond what the program had before, and
// the processor time in ms.

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Benchmarks/Cost.h"
#include "Benchmarks/EngineStore.h"
#include "Benchmarks/ProcessMemory.h"
#include "CoreDataStack/UseCases/CoreDataPhotoUseCase.h"

namespace {

using benchmarks::EngineStore;
using benchmarks::HandWrittenStore;
using foundation::Date;

constexpr std::size_t kPages = 10;
constexpr std::size_t kPhotosOnAPage = 20;
/// Nobody checks in outside of these.
constexpr std::int64_t kFirstTime = 946'684'800;
constexpr std::int64_t kLastTime = 4'102'444'800;

/// What `sizeOf` gives for the photos of pages that lie evenly in a list of that length.
template <typename F>
std::int64_t turningPages(std::size_t length, F&& sizeOf) {
  std::int64_t bytes = 0;
  for (std::size_t page = 0; page < kPages; ++page) {
    const std::size_t first = page * length / kPages;
    for (std::size_t photo = first; photo < first + kPhotosOnAPage && photo < length; ++photo) {
      bytes += sizeOf(photo);
    }
  }
  return bytes;
}

std::int64_t look(const EngineStore& store) {
  return store.inBlock([&] {
    const auto photos = coredatastack::CoreDataPhotoUseCase(store.contextHandle())
                            .iterator(Date::from1970(kFirstTime), Date::from1970(kLastTime),
                                      domain::ActivityStatus(domain::ActivityStatus::active));
    return turningPages(photos->numberOfItems(0), [&](std::size_t index) {
      const auto photo = (*photos)[foundation::IndexPath{0, index}];
      return static_cast<std::int64_t>(photo->data ? photo->data->bytes().size() : 0);
    });
  });
}

std::int64_t look(HandWrittenStore& store) {
  auto list = store.statement(
      "SELECT p.id FROM Photo p JOIN Checkin c ON c.id = p.checkin JOIN Activity a ON a.id = "
      "c.activity WHERE c.date >= ? AND c.date <= ? AND a.status = 0 ORDER BY c.date DESC");
  const std::string first = benchmarks::dayOf(kFirstTime);
  const std::string last = benchmarks::dayOf(kLastTime);
  list.bind(1, std::string_view(first));
  list.bind(2, std::string_view(last));
  std::vector<std::int64_t> keys;
  while (list.step()) keys.push_back(list.integer(0));
  auto photo = store.statement(
      "SELECT p.data, c.date, i.pixelWidth, i.pixelHeight, i.latitude, i.longitude FROM Photo p "
      "JOIN Checkin c ON c.id = p.checkin LEFT JOIN PhotoInfo i ON i.photo = p.id WHERE p.id = ?");
  return turningPages(keys.size(), [&](std::size_t index) {
    photo.bind(1, keys[index]);
    if (!photo.step()) throw std::runtime_error("a photo is gone");
    const auto lent = photo.bytes(0);
    const std::vector<std::uint8_t> data(lent.begin(), lent.end());
    const auto day = photo.optionalText(1);
    photo.reset();
    return static_cast<std::int64_t>(day ? data.size() : 0);
  });
}

template <typename Store>
void measure(const std::string& path) {
  Store store(path, benchmarks::Durability::full);
  const benchmarks::ProcessMemory memory;
  std::int64_t bytes = 0;
  const benchmarks::Cost cost = benchmarks::costOf([&] { bytes = look(store); });
  std::printf("%lld %.3f %.3f\n", static_cast<long long>(bytes), memory.peakMiB(),
              cost.processor * 1e3);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  try {
    const bool isOurs = std::string_view(arguments[1]) == "ours";
    isOurs ? measure<EngineStore>(arguments[2]) : measure<HandWrittenStore>(arguments[2]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
