#include "Tools/storecheck/Findings.h"

#include <utility>

namespace storecheck {

void Findings::add(Finding finding) {
  ++(finding.severity == Severity::error ? errors_ : warnings_);
  if (counts_[static_cast<std::size_t>(finding.kind)]++ < kMostOfAKind)
    list_.push_back(std::move(finding));
}

}  // namespace storecheck
