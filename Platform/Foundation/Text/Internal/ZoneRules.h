#pragma once

#include <absl/time/time.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace foundation {

/// The rules of one time zone, read from the system's zone files: which offset holds when.
///
/// Rules are interned and live as long as the process, so that a pointer to them is an identity.
///
/// Threading: immutable.
class ZoneRules {
 public:
  /// The rules of a zone by its name ("Asia/Seoul"), null when the system has no such zone.
  [[nodiscard]] static const ZoneRules* named(std::string_view identifier);
  [[nodiscard]] static const ZoneRules& utc();
  /// The zone that the system is set to: `TZ`, else /etc/localtime, else UTC. A zone that is named
  /// but cannot be read is reported on the standard error stream.
  [[nodiscard]] static const ZoneRules& ofSystem();
  /// Makes the calls above read the files anew. Rules handed out before stay as they are.
  static void forgetFiles();

  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  /// How many seconds local time is ahead of UTC at an instant, given in seconds since 1970.
  [[nodiscard]] std::int64_t offsetAt(std::int64_t instant) const noexcept {
    const Span* span = spanAt(instant);
    return span == nullptr ? searchOffset(instant) : span->offset;
  }

  /// The instant at which local time reads `localSeconds`, given as if they were counted in UTC. A
  /// local time that occurs twice is the earlier of the two; one that a change of the clock skips
  /// is the first instant after it.
  [[nodiscard]] std::int64_t instantOf(std::int64_t localSeconds) const noexcept;

 private:
  // The table covers 1900 to 2200 and is entered by buckets of 48 days: few hold more than one
  // change. Outside it, where a habit tracker has no dates, the library that read the file is
  // asked.
  static constexpr std::int64_t kTableBegin = -2208988800;
  static constexpr std::int64_t kTableEnd = 7258118400;
  static constexpr std::int64_t kTableLength = kTableEnd - kTableBegin;
  static constexpr int kBucketShift = 22;

  struct Span {
    std::int64_t end;
    std::int32_t offset;
  };

  /// The span of the table that an instant lies in, null outside the table.
  [[nodiscard]] const Span* spanAt(std::int64_t instant) const noexcept {
    const std::int64_t sinceBegin = instant - kTableBegin;
    if (sinceBegin < 0 || sinceBegin >= kTableLength) return nullptr;
    const auto bucket = static_cast<std::size_t>(sinceBegin >> kBucketShift);
    const Span* span = &spans_[firstSpan_[bucket]];
    while (instant >= span->end) ++span;
    return span;
  }

  ZoneRules(std::string identifier, const absl::TimeZone& zone);
  static const ZoneRules* load(std::string_view identifier, const std::string& path);
  static const ZoneRules& intern(std::string_view identifier, const absl::TimeZone& zone);
  static const ZoneRules* fromVariable(std::string_view setting);
  [[nodiscard]] std::int64_t searchOffset(std::int64_t instant) const noexcept;
  void buildTable();

  std::string identifier_;
  absl::TimeZone zone_;
  std::vector<Span> spans_;
  std::vector<std::uint16_t> firstSpan_;
};

}  // namespace foundation
