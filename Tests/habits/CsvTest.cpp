#include "Tools/habits/Csv.h"

#include <gtest/gtest.h>

namespace habits {
namespace {

using Cells = std::vector<std::string>;

std::vector<CsvRow> rowsOf(std::string_view text) {
  CsvReader reader(text);
  std::vector<CsvRow> rows;
  while (auto row = reader.next()) rows.push_back(*std::move(row));
  return rows;
}

/// The cells of all rows, none of which may have a fault.
std::vector<Cells> cellsOf(std::string_view text) {
  std::vector<Cells> cells;
  for (const CsvRow& row : rowsOf(text)) {
    EXPECT_FALSE(row.fault.has_value()) << row.line;
    cells.push_back(row.cells);
  }
  return cells;
}

/// The faults as "line:column what".
std::vector<std::string> faultsOf(std::string_view text) {
  std::vector<std::string> faults;
  for (const CsvRow& row : rowsOf(text)) {
    if (!row.fault) continue;
    faults.push_back(std::to_string(row.line) + ":" + std::to_string(row.fault->column) + " " +
                     row.fault->what);
  }
  return faults;
}

TEST(CsvReader, FindsNoRowsInNothing) {
  EXPECT_TRUE(rowsOf("").empty());
  EXPECT_TRUE(rowsOf("\xEF\xBB\xBF").empty());
  EXPECT_TRUE(rowsOf("\r\n\n\r").empty());
}

TEST(CsvReader, ReadsCellsBetweenCommas) {
  EXPECT_EQ(cellsOf("a,b\nc,d\n"), (std::vector<Cells>{{"a", "b"}, {"c", "d"}}));
  EXPECT_EQ(cellsOf("a, b ,"), (std::vector<Cells>{{"a", " b ", ""}}));
  EXPECT_EQ(cellsOf(",,"), (std::vector<Cells>{{"", "", ""}}));
}

TEST(CsvReader, NeedsNoLineEndAtTheEnd) { EXPECT_EQ(cellsOf("a\nb"), cellsOf("a\nb\n")); }

TEST(CsvReader, TakesTheLineEndsOfEverySystem) {
  EXPECT_EQ(cellsOf("a\r\nb\rc\nd"), (std::vector<Cells>{{"a"}, {"b"}, {"c"}, {"d"}}));
}

TEST(CsvReader, PassesOverAByteOrderMarkAtTheBeginningAlone) {
  EXPECT_EQ(cellsOf("\xEF\xBB\xBF\"a\""), (std::vector<Cells>{{"a"}}));
  EXPECT_EQ(cellsOf("a,\xEF\xBB\xBF"), (std::vector<Cells>{{"a", "\xEF\xBB\xBF"}}));
}

TEST(CsvReader, TakesWhatStandsInQuotesAsItIs) {
  EXPECT_EQ(cellsOf("\"a,b\",\"c\r\nd\",\" \"\n"), (std::vector<Cells>{{"a,b", "c\r\nd", " "}}));
  EXPECT_EQ(cellsOf("\"\",\"\""), (std::vector<Cells>{{"", ""}}));
}

TEST(CsvReader, TakesTwoQuotationMarksInQuotesAsOne) {
  EXPECT_EQ(cellsOf("\"\"\"\",\"a\"\"b\",\"\"\"c\"\"\""),
            (std::vector<Cells>{{"\"", "a\"b", "\"c\""}}));
}

TEST(CsvReader, ReadsTextInAnyScript) {
  EXPECT_EQ(cellsOf("운동,تمرين,🏃"), (std::vector<Cells>{{"운동", "تمرين", "🏃"}}));
}

TEST(CsvReader, CountsLinesWithinCellsAndBetweenRows) {
  const auto rows = rowsOf("a\n\n\"b\r\nb\rb\nb\",c\nd\n");

  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].line, 1U);
  EXPECT_EQ(rows[1].line, 3U);
  EXPECT_EQ(rows[2].line, 7U);
}

TEST(CsvReader, GoesOnBehindARowThatItCannotRead) {
  const auto rows = rowsOf("a,b\"c,d\n\"e\"f,g\nh\n");

  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].cells, (Cells{"a"}));
  EXPECT_EQ(rows[2].cells, (Cells{"h"}));
  EXPECT_FALSE(rows[2].fault.has_value());
}

TEST(CsvReader, SaysWhereAndWhyItCannotReadARow) {
  EXPECT_EQ(
      faultsOf("a,b\"c\n\"e\"f\n"),
      (std::vector<std::string>{"1:2 a quotation mark stands inside a cell that is not in quotes",
                                "2:1 something stands behind the closing quotation mark"}));
}

TEST(CsvReader, LosesTheRestBehindAQuotationMarkThatIsNeverClosed) {
  EXPECT_EQ(faultsOf("a\nb,\"c\nd\ne,f"),
            (std::vector<std::string>{"2:2 the quotation mark here is never closed"}));
  EXPECT_EQ(rowsOf("\"").size(), 1U);
}

TEST(CsvReader, RefusesWhatIsNoUtf8) {
  const std::vector<std::string> fault{"1:2 this is no UTF-8 text"};
  EXPECT_EQ(faultsOf("a,caf\xE9\n"), fault);
  EXPECT_EQ(faultsOf(std::string_view("a,b\0\n", 5)), fault);
}

}  // namespace
}  // namespace habits
