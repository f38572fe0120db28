#include <cstdio>
#include <string>

#include "Foundation/Files/Bundle.h"

// Prints where the program's own bundle lies, and where the one with the identifier in its argument
// does.
int main(int count, char** arguments) {
  using foundation::Bundle;
  std::puts(Bundle::main().bundleURL().path().c_str());
  if (count < 2) return 0;
  const auto found = Bundle::withIdentifier(arguments[1]);
  std::puts(found ? found->bundleURL().path().c_str() : "none");
  return 0;
}
