#include "Tools/habits/Complaints.h"

#include <cstdio>

namespace habits {

void complain(const std::string& what) { std::fprintf(stderr, "habits: %s\n", what.c_str()); }

void Complaints::error(const foundation::Error& error) noexcept {
  if (isSilent_ || (dealsWith_ && dealsWith_(error))) return;
  std::fprintf(stderr, "habits: %s\n", error.message().c_str());
}

Complaints::Silence::Silence(Complaints& complaints) noexcept : complaints_(complaints) {
  complaints_.isSilent_ = true;
}

Complaints::Silence::~Silence() { complaints_.isSilent_ = false; }

}  // namespace habits
