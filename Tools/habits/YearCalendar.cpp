#include "Tools/habits/YearCalendar.h"

#include <array>
#include <string_view>

namespace habits {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::weekday;

namespace {

constexpr std::size_t kDaysAWeek = 7;
constexpr std::string_view kMargin = "    ";
constexpr std::array<std::string_view, kDaysAWeek> kWeekdays = {"Sun", "Mon", "Tue", "Wed",
                                                                "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<std::string_view, 5> kSigns = {"·", "░", "▒", "█", "○"};
constexpr std::array<std::string_view, 5> kColors = {
    "\033[38;5;240m·\033[0m", "\033[38;5;22m■\033[0m", "\033[38;5;34m■\033[0m",
    "\033[38;5;46m■\033[0m", "\033[38;5;33m■\033[0m"};

/// The grid's columns are weeks that begin on Sundays; the first holds the first of January.
struct Grid {
  explicit Grid(std::chrono::year year)
      : first(year / 1 / 1),
        last(year / 12 / 31),
        emptyPlaces(weekday(first).c_encoding()),
        columns((emptyPlaces + static_cast<std::size_t>((last - first).count())) / kDaysAWeek + 1) {
  }

  /// The day in a place, or one outside the year.
  [[nodiscard]] sys_days at(std::size_t row, std::size_t column) const {
    return first + days(column * kDaysAWeek + row) - days(emptyPlaces);
  }
  [[nodiscard]] bool contains(sys_days day) const { return first <= day && day <= last; }
  [[nodiscard]] std::size_t columnOf(sys_days day) const {
    return (emptyPlaces + static_cast<std::size_t>((day - first).count())) / kDaysAWeek;
  }

  sys_days first;
  sys_days last;
  std::size_t emptyPlaces;
  std::size_t columns;
};

std::string monthNames(const Grid& grid, std::chrono::year year) {
  std::string line(kMargin.size() + grid.columns + 2, ' ');
  for (unsigned month = 1; month <= kMonths.size(); ++month) {
    const std::size_t column = grid.columnOf(sys_days(year / month / 1));
    line.replace(kMargin.size() + column, kMonths[month - 1].size(), kMonths[month - 1]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

std::string yearCalendar(std::chrono::year year, const std::function<Shade(const Day&)>& shadeOf,
                         bool inColor) {
  const Grid grid(year);
  const auto& signs = inColor ? kColors : kSigns;
  const auto sign = [&](Shade shade) { return signs[static_cast<std::size_t>(shade)]; };
  std::string text = monthNames(grid, year) + "\n";
  for (std::size_t row = 0; row < kDaysAWeek; ++row) {
    text += std::string(kWeekdays[row]) + " ";
    for (std::size_t column = 0; column < grid.columns; ++column) {
      const sys_days day = grid.at(row, column);
      text += grid.contains(day) ? sign(shadeOf(Day(day))) : std::string_view(" ");
    }
    text.erase(text.find_last_not_of(' ') + 1);
    text += "\n";
  }
  text += std::string(kMargin) + "none ";
  for (const Shade shade : {Shade::empty, Shade::low, Shade::medium, Shade::high})
    text += sign(shade);
  return text + " complete   alternate " + std::string(sign(Shade::other));
}

}  // namespace habits
