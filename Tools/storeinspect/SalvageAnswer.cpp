#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "Tools/habits/Table.h"
#include "Tools/storeinspect/SalvageCommand.h"

namespace storeinspect {

using habits::Table;
using salvage::EntityReport;
using salvage::SalvageReport;
using salvage::VersionSource;
using Json = nlohmann::ordered_json;

namespace {

std::string_view name(VersionSource source) {
  switch (source) {
    case VersionSource::metadata:
      return "metadata";
    case VersionSource::tables:
      return "tables";
    case VersionSource::rows:
      return "rows";
  }
  return {};
}

std::string versionOf(const SalvageReport& report) {
  return report.versionSource == VersionSource::metadata
             ? report.version
             : fmt::format("{} (by its {})", report.version, name(report.versionSource));
}

/// What is wrong with an entity's pages, rather than with its rows.
std::string remarks(const EntityReport& entity) {
  std::string remarks;
  if (entity.isUnlisted) remarks += "no table";
  const auto add = [&](std::int64_t count, std::string_view what) {
    if (count == 0) return;
    if (!remarks.empty()) remarks += ", ";
    remarks += fmt::format("{} {}", count, what);
  };
  add(entity.lostPages, "pages lost");
  add(entity.strays, "rows from stray pages");
  return remarks;
}

std::string rowsOf(const SalvageReport& report) {
  Table table;
  table.add({"", "found", "brought back", ""});
  for (const EntityReport& entity : report.entities) {
    table.add({entity.name, std::to_string(entity.found), std::to_string(entity.broughtBack),
               remarks(entity)});
  }
  return table.text();
}

std::string lossesOf(const SalvageReport& report) {
  Table table;
  for (const EntityReport& entity : report.entities) {
    for (const auto& [loss, count] : entity.losses) {
      table.add({entity.name, loss.property.empty() ? "(rows)" : loss.property,
                 std::to_string(count), std::string(salvage::text(loss.reason))});
    }
  }
  return table.text();
}

Json jsonOf(const EntityReport& entity) {
  Json losses = Json::array();
  for (const auto& [loss, count] : entity.losses) {
    losses.push_back({{"property", loss.property.empty() ? Json() : Json(loss.property)},
                      {"count", count},
                      {"why", salvage::text(loss.reason)}});
  }
  return {{"found", entity.found},           {"broughtBack", entity.broughtBack},
          {"fromStrayPages", entity.strays}, {"lostPages", entity.lostPages},
          {"hasTable", !entity.isUnlisted},  {"losses", std::move(losses)}};
}

}  // namespace

std::string text(const SalvageReport& report) {
  Table head;
  head.add({"version", versionOf(report)});
  head.add({"identifier", report.identifier.empty() ? "(a new one)" : report.identifier});
  head.add({"rows", fmt::format("{} of {} found, {} %", report.broughtBack(), report.found(),
                                report.percentage())});
  if (!report.hadSoundHeader) head.add({"header", "damaged"});
  if (!report.problem.empty()) head.add({"log", "not read: " + report.problem});
  if (report.unknownPages > 0)
    head.add(
        {"unknown", fmt::format("{} pages of rows of no certain entity", report.unknownPages)});
  std::string answer = head.text() + "\n\n" + rowsOf(report);
  if (const std::string losses = lossesOf(report); !losses.empty())
    answer += "\n\nLost or changed\n" + losses;
  return answer;
}

std::string json(const SalvageReport& report) {
  Json entities = Json::object();
  for (const EntityReport& entity : report.entities) entities[entity.name] = jsonOf(entity);
  const Json answer{{"version", report.version},
                    {"versionSource", name(report.versionSource)},
                    {"identifier", report.identifier},
                    {"hadSoundHeader", report.hadSoundHeader},
                    {"logProblem", report.problem.empty() ? Json() : Json(report.problem)},
                    {"found", report.found()},
                    {"broughtBack", report.broughtBack()},
                    {"percentage", report.percentage()},
                    {"unknownPages", report.unknownPages},
                    {"isWhole", report.isWhole()},
                    {"entities", std::move(entities)}};
  return answer.dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace storeinspect
