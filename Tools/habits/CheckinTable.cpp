#include "Tools/habits/CheckinTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <optional>

#include "Foundation/Text/Characters.h"
#include "Foundation/Text/TimeZone.h"
#include "Tools/habits/Csv.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"

namespace habits {

using foundation::Date;

namespace {

constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

std::string inQuotes(std::string_view cell) { return "\"" + std::string(cell) + "\""; }

bool isBlank(std::string_view text) {
  return foundation::trimmingWhitespaceAndNewlines(text).empty();
}

char lowercase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isSameName(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, lowercase, lowercase);
}

[[noreturn]] void refuse(const CsvRow& header, std::size_t column, const std::string& what) {
  throw Refusal("Line " + std::to_string(header.line) + ", column " + std::to_string(column + 1) +
                ": " + what + ".");
}

/// Thrown where a row turns out to be bad.
struct BadCell {
  std::size_t column;
  std::string what;
};

/// What stands in a cell for how often a habit was done; 0 for no check-in, none for what stands
/// for nothing.
std::optional<double> countIn(std::string_view cell) {
  constexpr std::array<std::string_view, 5> kNoCheckin = {"", "YES_AUTO", "NO", "SKIP", "UNKNOWN"};
  if (cell == "YES_MANUAL") return 1;
  if (std::ranges::find(kNoCheckin, cell) != kNoCheckin.end()) return 0;
  double number = 0;
  const char* begin = cell.data();
  const char* end = begin + cell.size();
  const auto [stop, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
  if (number == -1) return 0;
  return number >= 0 ? std::optional(number) : std::nullopt;
}

double countAt(const CsvRow& row, std::size_t column) {
  const std::string& cell = row.cells[column];
  if (const auto count = countIn(cell)) return *count;
  throw BadCell{column, inQuotes(cell) + " is no count; write a number above 0, or nothing"};
}

/// The days of one column, in the one form that it is written in.
class DayColumn {
 public:
  DayColumn(std::size_t column, const std::vector<CsvRow>& rows)
      : column_(column), isMonthFirst_(std::ranges::all_of(rows, [&](const CsvRow& row) {
          return row.cells.size() <= column || monthFirstDay(row.cells[column]).has_value();
        })) {}

  /// Noon of the row's day.
  [[nodiscard]] const Date& of(const CsvRow& row) {
    const std::string& cell = row.cells[column_];
    const auto known = known_.find(cell);
    if (known != known_.end()) return known->second;
    const auto day = isMonthFirst_ ? monthFirstDay(cell) : plainDay(cell);
    if (!day) {
      throw BadCell{column_,
                    inQuotes(cell) + " is no day; write it as YYYY-MM-DD, or all days as MM/DD/YY"};
    }
    const auto noon = noonOf(*day);
    if (!noon) {
      throw BadCell{column_,
                    "there was no " + cell + " in " + foundation::TimeZone::current().identifier()};
    }
    return known_.emplace(cell, *noon).first->second;
  }

 private:
  std::size_t column_;
  bool isMonthFirst_;
  /// A file has many rows of few days.
  std::map<std::string, Date, std::less<>> known_;
};

/// Reads the rows of one form.
class Layout {
 public:
  Layout() = default;
  Layout(const Layout&) = delete;
  Layout& operator=(const Layout&) = delete;
  virtual ~Layout() = default;

  [[nodiscard]] virtual std::size_t dayColumn() const = 0;
  /// Appends the row's check-ins. Throws `BadCell`.
  virtual void read(const CsvRow& row, const Date& day,
                    std::vector<ImportedCheckin>& into) const = 0;
};

/// The column that bears one of the two names, or `kNoColumn`.
std::size_t columnNamed(const CsvRow& header, std::string_view name, std::string_view otherName) {
  std::size_t found = kNoColumn;
  for (std::size_t column = 0; column < header.cells.size(); ++column) {
    const std::string& cell = header.cells[column];
    if (!isSameName(cell, name) && !isSameName(cell, otherName)) continue;
    if (found != kNoColumn) {
      refuse(header, column,
             inQuotes(cell) + " says again what column " + std::to_string(found + 1) + " says");
    }
    found = column;
  }
  return found;
}

class ListLayout final : public Layout {
 public:
  explicit ListLayout(const CsvRow& header)
      : activity_(columnNamed(header, "activity", "HabitName")),
        date_(columnNamed(header, "date", "CalendarDate")),
        count_(columnNamed(header, "count", "Value")),
        memo_(columnNamed(header, "memo", "CommentText")),
        group_(columnNamed(header, "group", "HabitCategory")) {}

  [[nodiscard]] bool fits() const { return activity_ != kNoColumn && date_ != kNoColumn; }
  [[nodiscard]] std::size_t dayColumn() const override { return date_; }
  void read(const CsvRow& row, const Date& day, std::vector<ImportedCheckin>& into) const override {
    const std::string& title = row.cells[activity_];
    if (isBlank(title)) throw BadCell{activity_, "the habit has no title"};
    const bool hasCount = !textAt(row, count_).empty();
    const double count = hasCount ? countAt(row, count_) : 1;
    if (count > 0) into.push_back({title, day, count, textAt(row, memo_), textAt(row, group_)});
  }

 private:
  static std::string textAt(const CsvRow& row, std::size_t column) {
    return column == kNoColumn ? std::string() : row.cells[column];
  }

  std::size_t activity_;
  std::size_t date_;
  std::size_t count_;
  std::size_t memo_;
  std::size_t group_;
};

class MatrixLayout final : public Layout {
 public:
  explicit MatrixLayout(const CsvRow& header) : titles_(header.cells) {
    std::map<std::string_view, std::size_t> columns;
    for (std::size_t column = 1; column < titles_.size(); ++column) {
      if (isBlank(titles_[column])) refuse(header, column, "the habit has no title");
      const auto [first, isNew] = columns.emplace(titles_[column], column);
      if (!isNew) {
        refuse(header, column,
               inQuotes(titles_[column]) + " has column " + std::to_string(first->second + 1) +
                   " already");
      }
    }
  }

  [[nodiscard]] static bool fits(const CsvRow& header) {
    return header.cells.size() > 1 && isSameName(header.cells.front(), "Date");
  }
  [[nodiscard]] std::size_t dayColumn() const override { return 0; }
  void read(const CsvRow& row, const Date& day, std::vector<ImportedCheckin>& into) const override {
    for (std::size_t column = 1; column < titles_.size(); ++column) {
      const double count = countAt(row, column);
      if (count > 0) into.push_back({titles_[column], day, count, "", ""});
    }
  }

 private:
  std::vector<std::string> titles_;
};

std::unique_ptr<Layout> layoutOf(const CsvRow& header) {
  auto list = std::make_unique<ListLayout>(header);
  if (list->fits()) return list;
  if (MatrixLayout::fits(header)) return std::make_unique<MatrixLayout>(header);
  throw Refusal(
      "Line " + std::to_string(header.line) +
      " names no columns that are understood: either \"activity\" and \"date\", and if there are "
      "any \"count\", \"memo\" and \"group\"; or first \"Date\", and then each habit.");
}

/// Some programs end each row with a comma.
void dropEmptyEnd(CsvRow& row, std::size_t columns) {
  while (row.cells.size() > columns && row.cells.back().empty()) row.cells.pop_back();
}

CsvRow headerOf(CsvReader& reader) {
  auto header = reader.next();
  if (!header) throw Refusal("There are no rows in it.");
  if (header->fault) refuse(*header, header->fault->column - 1, header->fault->what);
  dropEmptyEnd(*header, 1);
  return *std::move(header);
}

void requireWhole(const CsvRow& row, std::size_t columns) {
  if (row.fault) throw BadCell{row.fault->column - 1, row.fault->what};
  if (row.cells.size() < columns)
    throw BadCell{row.cells.size(), "the row ends before this column"};
  if (row.cells.size() > columns) throw BadCell{columns, "the first row names no such column"};
}

}  // namespace

CheckinTable readCheckinTable(std::string_view csv) {
  CsvReader reader(csv);
  const CsvRow header = headerOf(reader);
  const auto layout = layoutOf(header);
  std::vector<CsvRow> rows;
  while (auto row = reader.next()) {
    dropEmptyEnd(*row, header.cells.size());
    rows.push_back(*std::move(row));
  }

  CheckinTable table;
  DayColumn days(layout->dayColumn(), rows);
  for (const CsvRow& row : rows) {
    const std::size_t before = table.checkins.size();
    try {
      requireWhole(row, header.cells.size());
      layout->read(row, days.of(row), table.checkins);
    } catch (const BadCell& bad) {
      table.checkins.erase(table.checkins.begin() + static_cast<std::ptrdiff_t>(before),
                           table.checkins.end());
      table.badRows.push_back({row.line, bad.column + 1, bad.what});
    }
  }
  return table;
}

}  // namespace habits
