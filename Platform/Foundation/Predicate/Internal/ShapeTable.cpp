#include "Foundation/Predicate/Internal/ShapeTable.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/FormatParser.h"
#include "Foundation/Predicate/Internal/ShapePrinter.h"

namespace foundation {
namespace {

/// Formats longer than this are parsed each time: the short cut would keep a second copy of the
/// text.
constexpr std::size_t kLongestShortCut = 4096;

std::size_t mixed(std::size_t hash, std::size_t value) noexcept {
  return (hash ^ value) * 0x9E3779B97F4A7C15ULL;
}

std::size_t hashOf(std::string_view format, std::span<const std::string_view> keyPaths) noexcept {
  const std::hash<std::string_view> hashText;
  std::size_t hash = hashText(format);
  for (const std::string_view path : keyPaths) hash = mixed(hash, hashText(path));
  return hash;
}

std::size_t hashOf(CompoundKind kind, std::span<const ShapeTable::Handle> parts) noexcept {
  std::size_t hash = static_cast<std::size_t>(kind);
  for (const ShapeTable::Handle& part : parts) hash = mixed(hash, part->serial());
  return hash;
}

bool needsParentheses(CompoundKind outer, PredicateNode::Kind inner) noexcept {
  return (outer != CompoundKind::disjunction && inner == PredicateNode::Kind::disjunction) ||
         (outer == CompoundKind::negation && inner == PredicateNode::Kind::conjunction);
}

std::string partText(CompoundKind kind, const PredicateShape& part) {
  return needsParentheses(kind, part.root().kind) ? "(" + part.format() + ")" : part.format();
}

/// A compound as a text whose parse gives the compound: the parser knows how to number and to
/// flatten.
std::string compoundText(CompoundKind kind, std::span<const ShapeTable::Handle> parts) {
  if (kind == CompoundKind::negation) return "NOT " + partText(kind, *parts.front());
  if (parts.empty()) return kind == CompoundKind::conjunction ? "TRUEPREDICATE" : "FALSEPREDICATE";
  std::string text;
  for (const ShapeTable::Handle& part : parts) {
    if (!text.empty()) text += kind == CompoundKind::conjunction ? " AND " : " OR ";
    text += partText(kind, *part);
  }
  return text;
}

}  // namespace

ShapeTable& ShapeTable::shared() {
  static auto* const table = new ShapeTable;
  return *table;
}

ShapeTable::Handle ShapeTable::forFormat(std::string_view format,
                                         std::span<const std::string_view> keyPaths) {
  const std::size_t hash = hashOf(format, keyPaths);
  if (Handle found = findWritten(hash, format, keyPaths)) return found;
  Handle shape = intern(format, keyPaths);
  if (format.size() > kLongestShortCut) return shape;
  Written entry{std::string(format), {keyPaths.begin(), keyPaths.end()}, shape};
  const std::unique_lock lock(mutex_);
  written_.emplace(hash, std::move(entry));
  return shape;
}

ShapeTable::Handle ShapeTable::forCompound(CompoundKind kind, std::span<const Handle> parts) {
  const std::size_t hash = hashOf(kind, parts);
  if (Handle found = findCompound(hash, kind, parts)) return found;
  Handle shape = intern(compoundText(kind, parts), {});
  Compound entry{kind, {}, shape};
  std::ranges::transform(parts, std::back_inserter(entry.parts), &PredicateShape::serial,
                         [](const Handle& part) -> const PredicateShape& { return *part; });
  const std::unique_lock lock(mutex_);
  compounds_.emplace(hash, std::move(entry));
  return shape;
}

ShapeTable::Handle ShapeTable::findWritten(std::size_t hash, std::string_view format,
                                           std::span<const std::string_view> keyPaths) const {
  const std::shared_lock lock(mutex_);
  const auto [first, last] = written_.equal_range(hash);
  const auto found = std::find_if(first, last, [&](const auto& entry) {
    return entry.second.format == format && std::ranges::equal(entry.second.keyPaths, keyPaths);
  });
  return found == last ? nullptr : found->second.shape;
}

ShapeTable::Handle ShapeTable::findCompound(std::size_t hash, CompoundKind kind,
                                            std::span<const Handle> parts) const {
  const std::shared_lock lock(mutex_);
  const auto [first, last] = compounds_.equal_range(hash);
  const auto found = std::find_if(first, last, [&](const auto& entry) {
    return entry.second.kind == kind &&
           std::ranges::equal(entry.second.parts, parts, {}, {},
                              [](const Handle& part) { return part->serial(); });
  });
  return found == last ? nullptr : found->second.shape;
}

ShapeTable::Handle ShapeTable::intern(std::string_view format,
                                      std::span<const std::string_view> keyPaths) {
  ParsedFormat parsed = FormatParser(format, keyPaths).parse();
  const std::shared_ptr<PredicateShape> shape(new PredicateShape);
  shape->format_ = printedFormat(parsed.root, parsed.rules);
  shape->root_ = std::move(parsed.root);
  shape->rules_ = std::move(parsed.rules);
  shape->siteCount_ = parsed.siteCount;
  shape->scopeDepth_ = parsed.scopeDepth;

  const std::unique_lock lock(mutex_);
  sweepIfGrown();
  shape->serial_ = lastSerial_ + 1;
  // The key is a view of the shape's own text, so the entry must go with the shape.
  const auto [entry, isNew] = shapes_.try_emplace(shape->format(), shape);
  if (isNew) ++lastSerial_;
  return entry->second;
}

void ShapeTable::sweepIfGrown() {
  const std::size_t shortCuts = written_.size() + compounds_.size();
  if (shapes_.size() < nextSweep_ && shortCuts < 4 * nextSweep_) return;
  written_.clear();
  compounds_.clear();
  // Nobody can come by a shape that only the table holds without this lock.
  std::erase_if(shapes_, [](const auto& entry) { return entry.second.use_count() == 1; });
  nextSweep_ = std::max(kFirstSweep, 2 * shapes_.size());
}

std::size_t ShapeTable::size() const {
  const std::shared_lock lock(mutex_);
  return shapes_.size();
}

std::shared_ptr<const PredicateShape> PredicateShape::parse(
    std::string_view format, std::span<const std::string_view> keyPaths) {
  return ShapeTable::shared().forFormat(format, keyPaths);
}

std::shared_ptr<const PredicateShape> PredicateShape::combine(
    CompoundKind kind, std::span<const std::shared_ptr<const PredicateShape>> parts) {
  if (kind == CompoundKind::negation && parts.size() != 1) {
    throwArgumentError("NOT", "a negation has exactly one part");
  }
  return ShapeTable::shared().forCompound(kind, parts);
}

}  // namespace foundation
