#include "Foundation/Internal/TestPoint.h"

/// Compiled as in a build without test points.
void passTestPoints() {
  foundation::reach(foundation::TestPoint::beforeCommit);
  foundation::reach(foundation::TestPoint::afterCommit);
}
