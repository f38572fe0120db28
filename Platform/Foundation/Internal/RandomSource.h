#pragma once

#include <cstdint>
#include <random>
#include <span>

namespace foundation {

/// Where random bytes come from. The system's source unless a test installed another.
class RandomSource {
 public:
  virtual ~RandomSource() = default;
  virtual void fill(std::span<std::uint8_t> bytes) = 0;

  /// Fills `bytes` from the source in force. Throws `std::system_error` when the system refuses.
  static void fillBytes(std::span<std::uint8_t> bytes);

 protected:
  friend class SeededRandomSource;
  /// Puts `source` in force, null the system's, and returns what was.
  static RandomSource* install(RandomSource* source) noexcept;
};

/// Repeatable bytes from a seed, in force while it lives.
///
/// Threading: for tests that draw on one thread.
class SeededRandomSource final : public RandomSource {
 public:
  explicit SeededRandomSource(std::uint64_t seed) : engine_(seed), previous_(install(this)) {}
  ~SeededRandomSource() override { install(previous_); }
  SeededRandomSource(const SeededRandomSource&) = delete;
  SeededRandomSource& operator=(const SeededRandomSource&) = delete;

  void fill(std::span<std::uint8_t> bytes) override;

 private:
  std::mt19937_64 engine_;
  RandomSource* previous_;
};

}  // namespace foundation
