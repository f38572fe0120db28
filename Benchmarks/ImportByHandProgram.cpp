// Reads check-ins from a comma-separated file and puts those of days that have none into a new
// store, as `habits import` does, by hand.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "Benchmarks/HandWrittenStore.h"

namespace {

using benchmarks::CheckinRecord;
using benchmarks::HandWrittenStore;
using benchmarks::secondsNow;

constexpr std::size_t kColumns = 4;

std::string contentOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(std::string("cannot read ") + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The cells of the row that begins at `position`, which moves on to the next one.
std::vector<std::string> nextRow(const std::string& text, std::size_t& position) {
  std::vector<std::string> cells(1);
  bool isQuoted = false;
  for (; position < text.size(); ++position) {
    const char character = text[position];
    if (character == '"') {
      isQuoted = !isQuoted;
    } else if (character == ',' && !isQuoted) {
      cells.emplace_back();
    } else if (character == '\n' && !isQuoted) {
      ++position;
      break;
    } else {
      cells.back() += character;
    }
  }
  if (cells.size() != kColumns) throw std::runtime_error("a row has not four cells");
  return cells;
}

struct Habit {
  std::int64_t key = 0;
  std::unordered_set<std::string> days;
};

class Import {
 public:
  explicit Import(const char* path) : store_(path, benchmarks::Durability::full) {}

  void run(const std::string& text) {
    std::size_t position = 0;
    static_cast<void>(nextRow(text, position));
    store_.begin();
    store_.recordTransaction(secondsNow());
    while (position < text.size()) add(nextRow(text, position));
    store_.commit();
  }

 private:
  void add(const std::vector<std::string>& cells) {
    Habit& habit = habits_[cells[0]];
    if (habit.key == 0) habit.key = store_.insertActivity(cells[0]);
    if (!habit.days.insert(cells[1]).second) return;
    CheckinRecord record;
    record.activity = habit.key;
    record.date = cells[1];
    record.count = std::stod(cells[2]);
    if (!cells[3].empty()) record.memo = cells[3];
    record.createdDate = secondsNow();
    record.modifiedDate = record.createdDate;
    store_.recordChange(store_.insertCheckin(record), HandWrittenStore::Change::insert, 0);
  }

  HandWrittenStore store_;
  std::map<std::string, Habit> habits_;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  try {
    Import(arguments[1]).run(contentOf(arguments[2]));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
