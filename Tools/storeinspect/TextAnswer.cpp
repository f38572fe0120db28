#include <fmt/format.h>

#include "CoreData/SQLite/MetadataText.h"
#include "Tools/habits/Table.h"
#include "Tools/storeinspect/Answer.h"

namespace storeinspect {

using habits::Table;
using storecheck::Finding;
using storecheck::FindingKind;
using storecheck::Findings;
using storecheck::History;
using storecheck::Report;
using storecheck::Severity;
using storecheck::Transaction;

namespace {

/// Under a heading, a little to the right.
std::string section(const std::string& heading, const std::string& body) {
  std::string result = "\n\n" + heading;
  for (std::size_t begin = 0; begin < body.size();) {
    const std::size_t end = std::min(body.find('\n', begin), body.size());
    result += "\n  " + body.substr(begin, end - begin);
    begin = end + 1;
  }
  return result;
}

std::string metadataTable(const Report& report) {
  Table table;
  for (const auto& [key, value] : report.metadata) {
    // Thirteen digests say nothing to people; the version is what they stand for.
    if (key != coredata::NSStoreModelVersionHashesKey)
      table.add({key, coredata::metadataText(value)});
  }
  return table.text();
}

std::string rowsTable(const Report& report) {
  Table table;
  for (const auto& [entity, count] : report.rows) table.add({entity, std::to_string(count)});
  return table.text();
}

std::string authorOf(const std::string& author) { return author.empty() ? "(none)" : author; }

void add(Table& table, std::string_view what, const Transaction& transaction) {
  table.add({std::string(what), std::to_string(transaction.number),
             transaction.timestamp.description(), authorOf(transaction.author),
             fmt::format("+{} ~{} -{}", transaction.changes[0], transaction.changes[1],
                         transaction.changes[2])});
}

std::string historyTable(const History& history) {
  std::string text =
      fmt::format("{} transactions, {} changes", history.transactions, history.changes);
  if (!history.oldest || !history.newest) return text;
  Table ends;
  add(ends, "oldest", *history.oldest);
  add(ends, "newest", *history.newest);
  Table authors;
  for (const auto& [author, count] : history.byAuthor)
    authors.add({"by " + authorOf(author), std::to_string(count)});
  text += "\n" + ends.text() + "\n" + authors.text();
  if (history.last.empty()) return text;
  Table last;
  for (const Transaction& transaction : history.last) add(last, "", transaction);
  return text + fmt::format("\nthe last {}:\n", history.last.size()) + last.text();
}

std::string sizesTable(const Report& report) {
  Table table;
  table.add({"file", fmt::format("{} bytes", report.sizes.fileBytes)});
  table.add({"log", fmt::format("{} bytes", report.sizes.logBytes)});
  table.add({"pages", fmt::format("{} of {} bytes, {} free", report.sizes.pages,
                                  report.sizes.pageBytes, report.sizes.freePages)});
  if (report.bytesByTable) {
    for (const auto& [name, bytes] : *report.bytesByTable)
      table.add({name, fmt::format("{} bytes", bytes)});
  }
  return table.text();
}

std::string placeOf(const Finding& finding) {
  return finding.key ? fmt::format("{} {}", finding.entity, *finding.key) : finding.entity;
}

std::string checkTable(const Report& report) {
  const Findings& findings = report.findings;
  std::string text =
      fmt::format("{}: {} errors, {} warnings", report.isSound() ? "sound" : "not sound",
                  findings.count(Severity::error), findings.count(Severity::warning));
  Table table;
  for (const Finding& finding : findings.list()) {
    table.add({finding.severity == Severity::error ? "error" : "warning",
               std::string(storecheck::name(finding.kind)), placeOf(finding), finding.text});
  }
  if (!findings.list().empty()) text += "\n" + table.text();
  for (std::size_t i = 0; i < storecheck::kFindingKinds; ++i) {
    const auto kind = static_cast<FindingKind>(i);
    if (findings.count(kind) <= Findings::kMostOfAKind) continue;
    text += fmt::format("\nof {} \"{}\" the first {}", findings.count(kind), storecheck::name(kind),
                        Findings::kMostOfAKind);
  }
  return text;
}

}  // namespace

std::string text(const Report& report, const Questions& questions) {
  Table head;
  head.add({"version", report.version});
  head.add({"identifier", report.identifier.empty() ? "(none)" : report.identifier});
  std::string answer = head.text();
  if (questions.metadata) answer += section("Metadata", metadataTable(report));
  if (questions.rows) answer += section("Rows", rowsTable(report));
  if (questions.history) answer += section("History", historyTable(report.history));
  if (questions.sizes) answer += section("Sizes", sizesTable(report));
  if (questions.hash)
    answer += section("Content", report.contentHash.value_or("(not all of it can be read)"));
  if (questions.check) answer += section("Check", checkTable(report));
  return answer;
}

}  // namespace storeinspect
