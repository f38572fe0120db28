#include "Foundation/Text/Internal/ZoneRules.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace foundation {

namespace {

constexpr std::string_view kZoneDirectory = "/usr/share/zoneinfo/";
constexpr const char* kSystemZoneFile = "/etc/localtime";

struct ReadRules {
  std::mutex mutex;
  /// Counts how often the files were to be forgotten.
  int generation = 0;
  struct Entry {
    std::string key;
    std::unique_ptr<const ZoneRules> rules;
  };
  std::vector<Entry> entries;
};

/// Never destroyed: day keys are made until the very end of the process.
ReadRules& readRules() {
  static auto& instance = *new ReadRules;
  return instance;
}

/// A name that stays inside the zone directory.
bool isZoneName(std::string_view name) {
  constexpr std::size_t kLongest = 255;
  const auto isAllowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '+' || c == '/';
  };
  return !name.empty() && name.size() <= kLongest && name.front() != '/' &&
         std::ranges::all_of(name, isAllowed);
}

/// The library that reads the files keeps a zone for ever under the name it was asked for. Another
/// spelling of the same path is another name to it.
std::string respelled(const std::string& path, int generation) {
  std::string prefix;
  for (int i = 0; i < generation; ++i) prefix += "/.";
  return prefix + path;
}

/// The name of the zone that /etc/localtime is a link to; the path itself when it is no link into
/// the zone directory.
std::string nameOfSystemZone() {
  std::array<char, 512> target{};
  const ssize_t length = ::readlink(kSystemZoneFile, target.data(), target.size());
  if (length <= 0) return kSystemZoneFile;
  const std::string_view path(target.data(), static_cast<std::size_t>(length));
  constexpr std::string_view kMark = "/zoneinfo/";
  const std::size_t mark = path.rfind(kMark);
  return mark == std::string_view::npos ? kSystemZoneFile
                                        : std::string(path.substr(mark + kMark.size()));
}

}  // namespace

const ZoneRules& ZoneRules::intern(std::string_view identifier, const absl::TimeZone& zone) {
  const std::scoped_lock guard(readRules().mutex);
  const std::string key =
      std::to_string(readRules().generation) + " " + std::string(identifier) + " " + zone.name();
  for (const auto& entry : readRules().entries) {
    if (entry.key == key) return *entry.rules;
  }
  readRules().entries.push_back(
      {key, std::unique_ptr<const ZoneRules>(new ZoneRules(std::string(identifier), zone))});
  return *readRules().entries.back().rules;
}

const ZoneRules* ZoneRules::load(std::string_view identifier, const std::string& path) {
  int generation = 0;
  {
    const std::scoped_lock guard(readRules().mutex);
    generation = readRules().generation;
  }
  absl::TimeZone zone;
  if (!absl::LoadTimeZone(respelled(path, generation), &zone)) return nullptr;
  return &intern(identifier, zone);
}

const ZoneRules* ZoneRules::named(std::string_view identifier) {
  if (identifier == "UTC" || identifier == "GMT") return &intern(identifier, absl::UTCTimeZone());
  if (!isZoneName(identifier)) return nullptr;
  return load(identifier, std::string(kZoneDirectory) + std::string(identifier));
}

const ZoneRules& ZoneRules::utc() { return intern("UTC", absl::UTCTimeZone()); }

/// The forms of `TZ` that name a file: a zone's name or an absolute path, with or without a colon
/// in front.
const ZoneRules* ZoneRules::fromVariable(std::string_view setting) {
  if (setting.starts_with(':')) setting.remove_prefix(1);
  if (setting.empty()) return &utc();
  return setting.starts_with('/') ? load(setting, std::string(setting)) : named(setting);
}

const ZoneRules& ZoneRules::ofSystem() {
  if (const char* setting = std::getenv("TZ"); setting != nullptr) {
    if (const ZoneRules* rules = fromVariable(setting)) return *rules;
    std::fprintf(stderr, "the time zone \"%s\" cannot be read; days are reckoned in UTC\n",
                 setting);
    return utc();
  }
  const ZoneRules* rules = load(nameOfSystemZone(), kSystemZoneFile);
  return rules == nullptr ? utc() : *rules;
}

void ZoneRules::forgetFiles() {
  const std::scoped_lock guard(readRules().mutex);
  ++readRules().generation;
}

ZoneRules::ZoneRules(std::string identifier, const absl::TimeZone& zone)
    : identifier_(std::move(identifier)), zone_(zone) {
  buildTable();
}

void ZoneRules::buildTable() {
  const absl::Time end = absl::FromUnixSeconds(kTableEnd);
  absl::Time from = absl::InfinitePast();
  absl::TimeZone::CivilTransition change;
  while (zone_.NextTransition(from, &change)) {
    const absl::Time at = zone_.At(change.to).trans;
    if (at >= end) break;
    const int offset = zone_.At(at - absl::Seconds(1)).offset;
    spans_.push_back({absl::ToUnixSeconds(at), offset});
    from = at;
  }
  spans_.push_back({kTableEnd, zone_.At(end - absl::Seconds(1)).offset});

  std::uint16_t span = 0;
  for (std::int64_t bucket = kTableBegin; bucket < kTableEnd;
       bucket += std::int64_t{1} << kBucketShift) {
    while (bucket >= spans_[span].end) ++span;
    firstSpan_.push_back(span);
  }
}

std::int64_t ZoneRules::searchOffset(std::int64_t instant) const noexcept {
  return zone_.At(absl::FromUnixSeconds(instant)).offset;
}

std::int64_t ZoneRules::instantOf(std::int64_t localSeconds) const noexcept {
  // No zone is a day away from UTC: a span that reaches a day to either side decides alone.
  constexpr std::int64_t kDay = 86400;
  const Span* span = spanAt(localSeconds - kDay);
  if (span != nullptr && localSeconds + kDay < span->end) return localSeconds - span->offset;
  const auto found = zone_.At(absl::CivilSecond(1970, 1, 1) + localSeconds);
  const bool isSkipped = found.kind == absl::TimeZone::TimeInfo::SKIPPED;
  return absl::ToUnixSeconds(isSkipped ? found.trans : found.pre);
}

}  // namespace foundation
