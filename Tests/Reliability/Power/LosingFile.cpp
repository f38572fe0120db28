#include "Tests/Reliability/Power/LosingFile.h"

#include <algorithm>
#include <utility>

namespace power {

using support::below;

namespace {

constexpr std::size_t kSector = 512;

void grow(std::string& content, std::size_t size) {
  if (content.size() < size) content.resize(size, '\0');
}

}  // namespace

void LosingFile::write(std::int64_t offset, std::string bytes) {
  changes_.push_back({Change::Kind::write, static_cast<std::size_t>(offset), std::move(bytes)});
}

void LosingFile::truncate(std::int64_t size) {
  changes_.push_back({Change::Kind::truncate, static_cast<std::size_t>(size), {}});
}

void LosingFile::sync() {
  for (const Change& change : changes_) apply(change, synced_);
  changes_.clear();
}

void LosingFile::apply(const Change& change, std::string& content) {
  switch (change.kind) {
    case Change::Kind::write:
      grow(content, change.offset + change.bytes.size());
      content.replace(change.offset, change.bytes.size(), change.bytes);
      break;
    case Change::Kind::truncate:
      content.resize(change.offset, '\0');
      break;
  }
}

void LosingFile::tear(const Change& write, std::string& content, Chance& chance) {
  const std::size_t end = write.offset + write.bytes.size();
  for (std::size_t at = write.offset; at < end;) {
    const std::size_t next = std::min(end, (at / kSector + 1) * kSector);
    enum class Fate : std::uint8_t { fresh, old, zeros, garbage };
    const Fate fate{static_cast<std::uint8_t>(below(chance, 4))};
    if (fate != Fate::old) grow(content, next);
    switch (fate) {
      case Fate::fresh:
        content.replace(at, next - at, write.bytes, at - write.offset, next - at);
        break;
      case Fate::old:
        break;
      case Fate::zeros:
        content.replace(at, next - at, next - at, '\0');
        break;
      case Fate::garbage:
        std::generate(content.begin() + static_cast<std::ptrdiff_t>(at),
                      content.begin() + static_cast<std::ptrdiff_t>(next),
                      [&] { return static_cast<char>(chance()); });
        break;
    }
    at = next;
  }
}

void LosingFile::applySome(std::string& content, Chance& chance) const {
  for (const Change& change : changes_) {
    const auto fate = below(chance, 3);
    if (fate == 0) continue;
    if (fate == 1 && change.kind == Change::Kind::write) {
      tear(change, content, chance);
    } else {
      apply(change, content);
    }
  }
}

std::string LosingFile::afterLoss(Chance& chance) const {
  std::string content = synced_;
  if (changes_.empty()) return content;
  enum class Loss : std::uint8_t { none, all, end, some };
  // Most of the time any part, since that is where the surprises are.
  const Loss loss{static_cast<std::uint8_t>(std::min<std::uint64_t>(below(chance, 6), 3))};
  switch (loss) {
    case Loss::none:
      for (const Change& change : changes_) apply(change, content);
      break;
    case Loss::all:
      break;
    case Loss::end: {
      const auto kept = below(chance, changes_.size() + 1);
      for (std::size_t i = 0; i < kept; ++i) apply(changes_[i], content);
      break;
    }
    case Loss::some:
      applySome(content, chance);
      break;
  }
  const auto& last = changes_[below(chance, changes_.size())];
  const bool isWrite = last.kind == Change::Kind::write;
  if (isWrite && below(chance, 2) == 0) grow(content, last.offset + last.bytes.size());
  return content;
}

}  // namespace power
