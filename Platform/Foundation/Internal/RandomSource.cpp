#include "Foundation/Internal/RandomSource.h"

#include <sys/random.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace foundation {

namespace {

std::atomic<RandomSource*> installedSource{nullptr};

void fillFromSystem(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = ::getrandom(bytes.data(), bytes.size(), 0);
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "the system's random source failed");
    }
  }
}

}  // namespace

void RandomSource::fillBytes(std::span<std::uint8_t> bytes) {
  RandomSource* source = installedSource.load(std::memory_order_relaxed);
  if (source == nullptr) {
    fillFromSystem(bytes);
  } else {
    source->fill(bytes);
  }
}

RandomSource* RandomSource::install(RandomSource* source) noexcept {
  return installedSource.exchange(source, std::memory_order_relaxed);
}

void SeededRandomSource::fill(std::span<std::uint8_t> bytes) {
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(engine_() >> 56U);
}

}  // namespace foundation
