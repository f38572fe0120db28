#include "Foundation/Values/Date.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/UUID.h"

int main() {
  const foundation::UUID identifier;
  foundation::print(identifier.uuidString() + " made at " + foundation::Date::now().description());
}
