#include "Tests/Processes/Soak/Ledger.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace soak {

namespace {

constexpr std::array<std::string_view, 6> kNames{"add",    "raise",  "erase",
                                                 "attach", "append", "relink"};

Deed deedOf(std::string_view name) {
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (kNames[i] == name) return static_cast<Deed>(i);
  }
  throw std::runtime_error("an unknown deed");
}

/// The words of a line. A ledger has a million lines, and is read whenever a member begins anew.
class Words {
 public:
  explicit Words(std::string_view line) noexcept : rest_(line) {}

  /// All up to the next space; empty at the end.
  std::string_view next() noexcept {
    const std::string_view word = rest_.substr(0, rest_.find(' '));
    rest_.remove_prefix(std::min(word.size() + 1, rest_.size()));
    return word;
  }
  std::int64_t number() {
    const std::string_view word = next();
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size())
      throw std::runtime_error("no number in a ledger: " + std::string(word));
    return value;
  }
  [[nodiscard]] std::string_view rest() const noexcept { return rest_; }

 private:
  std::string_view rest_;
};

}  // namespace

std::string_view nameOf(Deed deed) noexcept { return kNames[static_cast<std::size_t>(deed)]; }

void enter(const Pending& pending, Entries& entries) {
  switch (pending.deed) {
    case Deed::add:
      entries[pending.number] = {};
      break;
    case Deed::raise:
      ++entries[pending.number].count;
      break;
    case Deed::erase:
      entries.erase(pending.number);
      break;
    case Deed::attach:
      ++entries[pending.number].photos;
      break;
    case Deed::append:
    case Deed::relink:
      break;
  }
}

Ledger::Ledger(const std::filesystem::path& file) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line) && !stream.eof();) read(line);
}

void Ledger::read(const std::string& line) {
  Words words(line);
  const std::string_view kind = words.next();
  if (kind == "begin") {
    const Deed deed = deedOf(words.next());
    const auto number = static_cast<std::size_t>(words.number());
    sessions.back().own.emplace_back(words.number(), std::numeric_limits<std::int64_t>::max());
    pending = {deed, number};
    nextNumber = std::max(nextNumber, number + 1);
  } else if (kind == "done" || kind == "kept") {
    if (kind == "done") sessions.back().own.back().second = words.number();
    enter(pending.value(), entries);
    if (pending->deed == Deed::append) tokens.insert(std::to_string(pending->number));
    if (kind == "kept") ++counts[kKept];
    pending.reset();
  } else if (kind == "undone") {
    ++counts["undone by a death"];
    pending.reset();
  } else if (kind == "session") {
    sessions.emplace_back();
  } else if (kind == "ready") {
    sessions.back().ready = words.number();
  } else if (kind == "pass") {
    sessions.back().passes.emplace_back();
  } else if (kind == "merged") {
    const std::int64_t number = words.number();
    sessions.back().passes.back().emplace_back(number, words.next());
  } else if (kind == "failed") {
    Session& session = sessions.back();
    std::int64_t told = session.ready.value_or(0);
    for (const auto& pass : session.passes) {
      if (!pass.empty()) told = std::max(told, pass.back().first);
    }
    session.untold.emplace_back(told, words.number());
  } else if (kind == "stamp") {
    stamps.push_back(words.number());
  } else if (kind == "quiet") {
    sessions.back().quiet = words.number();
    sessions.back().wasCurrent = words.number() != 0;
  } else {
    ++counts[std::string(words.rest())];
  }
}

LedgerFile::LedgerFile(const std::filesystem::path& file)
    : file_(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR)) {
  if (file_ < 0) throw std::runtime_error("no ledger");
}

LedgerFile::~LedgerFile() { ::close(file_); }

void LedgerFile::write(std::string line) const {
  line += '\n';
  if (::write(file_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::runtime_error("the ledger cannot be written");
  }
}

void LedgerFile::began(const Pending& pending, std::int64_t newest) const {
  write("begin " + std::string(nameOf(pending.deed)) + ' ' + std::to_string(pending.number) + ' ' +
        std::to_string(newest));
}

void LedgerFile::merged(std::int64_t number, const std::string& author) const {
  write("merged " + std::to_string(number) + ' ' + author);
}

void LedgerFile::stamped(double seconds) const {
  constexpr double kMicrosecond = 1e6;
  write("stamp " + std::to_string(std::llround(seconds * kMicrosecond)));
}

void LedgerFile::quiet(std::int64_t newest, bool isCurrent) const {
  write("quiet " + std::to_string(newest) + (isCurrent ? " 1" : " 0"));
}

}  // namespace soak
