#pragma once

#include <span>
#include <string_view>

#include "Foundation/Predicate/SubjectReader.h"

namespace foundation {

/// Whether the predicate holds for the subject. This is the meaning of predicates; the store's
/// translation gives the same answers.
///
/// - The logic has two values: a comparison holds or does not, and NOT turns that round.
/// - `=` holds between two absent values, `!=` is its opposite. Every other comparison with an
/// absent side is
///   false; an absent value is in a list that has one.
/// - Values of different kinds are not equal and have no order; all numbers are of one kind and are
/// compared
///   without rounding either side.
/// - ANY holds for none, ALL for every one of no values.
///
/// `arguments` has one value for each argument of the shape, already checked by whoever bound them.
/// Allocates nothing beyond what the reader does. Throws what the reader throws.
[[nodiscard]] bool evaluate(const PredicateShape& shape, std::span<const Value> arguments,
                            Subject subject, const SubjectReader& reader);

/// The same for one comparison, or a tree of them, that is no shape of its own but a part of one.
[[nodiscard]] bool evaluate(const PredicateNode& node, std::span<const Value> arguments,
                            Subject subject, const SubjectReader& reader);

/// Whether a text operator, or `=`, holds between two texts.
[[nodiscard]] bool testTexts(ComparisonOperator comparison, std::string_view left,
                             std::string_view right, TextOption option) noexcept;

}  // namespace foundation
