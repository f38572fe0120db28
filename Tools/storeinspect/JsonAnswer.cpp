#include <nlohmann/json.hpp>

#include "CoreData/SQLite/MetadataText.h"
#include "Tools/storeinspect/Answer.h"

namespace storeinspect {

using storecheck::Finding;
using storecheck::FindingKind;
using storecheck::Findings;
using storecheck::Report;
using storecheck::Severity;
using storecheck::Transaction;
using Json = nlohmann::ordered_json;

namespace {

Json metadataOf(const Report& report) {
  Json metadata = Json::object();
  for (const auto& [key, value] : report.metadata)
    metadata[key] = Json::parse(coredata::metadataText(value));
  return metadata;
}

Json transactionOf(const Transaction& transaction) {
  return {{"number", transaction.number},
          {"time", transaction.timestamp.description()},
          {"timestamp", transaction.timestamp.timeIntervalSinceReferenceDate()},
          {"author", transaction.author},
          {"inserted", transaction.changes[0]},
          {"updated", transaction.changes[1]},
          {"removed", transaction.changes[2]}};
}

Json historyOf(const storecheck::History& history) {
  Json json{{"transactions", history.transactions},
            {"changes", history.changes},
            {"byAuthor", history.byAuthor}};
  if (history.oldest) json["oldest"] = transactionOf(*history.oldest);
  if (history.newest) json["newest"] = transactionOf(*history.newest);
  json["last"] = Json::array();
  for (const Transaction& transaction : history.last)
    json["last"].push_back(transactionOf(transaction));
  return json;
}

Json sizesOf(const Report& report) {
  Json json{{"fileBytes", report.sizes.fileBytes},
            {"logBytes", report.sizes.logBytes},
            {"pageBytes", report.sizes.pageBytes},
            {"pages", report.sizes.pages},
            {"freePages", report.sizes.freePages}};
  if (report.bytesByTable) json["bytesByTable"] = *report.bytesByTable;
  return json;
}

Json findingOf(const Finding& finding) {
  Json json{{"severity", finding.severity == Severity::error ? "error" : "warning"},
            {"kind", storecheck::name(finding.kind)}};
  if (!finding.entity.empty()) json["entity"] = finding.entity;
  if (finding.key) json["key"] = *finding.key;
  json["text"] = finding.text;
  return json;
}

Json checkOf(const Report& report) {
  const Findings& findings = report.findings;
  Json counts = Json::object();
  for (std::size_t i = 0; i < storecheck::kFindingKinds; ++i) {
    const auto kind = static_cast<FindingKind>(i);
    if (findings.count(kind) > 0)
      counts[std::string(storecheck::name(kind))] = findings.count(kind);
  }
  Json list = Json::array();
  for (const Finding& finding : findings.list()) list.push_back(findingOf(finding));
  return {{"isSound", report.isSound()},
          {"errors", findings.count(Severity::error)},
          {"warnings", findings.count(Severity::warning)},
          {"counts", std::move(counts)},
          {"findings", std::move(list)}};
}

}  // namespace

std::string json(const Report& report, const Questions& questions) {
  Json answer{{"version", report.version}, {"identifier", report.identifier}};
  if (questions.metadata) answer["metadata"] = metadataOf(report);
  if (questions.rows) answer["rows"] = report.rows;
  if (questions.history) answer["history"] = historyOf(report.history);
  if (questions.sizes) answer["sizes"] = sizesOf(report);
  if (questions.hash)
    answer["contentHash"] = report.contentHash ? Json(*report.contentHash) : Json();
  if (questions.check) answer["check"] = checkOf(report);
  return answer.dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace storeinspect
