#include "Foundation/Metadata/MetadataProvider.h"

#include <gtest/gtest.h>

#include "Tests/Foundation/Metadata/TestProvider.h"

namespace foundation {
namespace {

TEST(MetadataProvider, IsThereForNoScopeAtFirst) {
  EXPECT_EQ(MetadataProvider::ofScope("NSMetadataQueryUbiquitousDataScope"), nullptr);
}

TEST(MetadataProvider, IsTheOneThatWasSetForItsScope) {
  const auto garden = make<TestProvider>(std::initializer_list<const char*>{});
  const auto field = make<TestProvider>(std::initializer_list<const char*>{});
  MetadataProvider::setProvider(garden, "garden");
  MetadataProvider::setProvider(field, "field");

  EXPECT_EQ(MetadataProvider::ofScope("garden"), garden);
  EXPECT_EQ(MetadataProvider::ofScope("field"), field);

  MetadataProvider::setProvider(nullptr, "garden");
  MetadataProvider::setProvider(nullptr, "field");
  EXPECT_EQ(MetadataProvider::ofScope("garden"), nullptr);
}

}  // namespace
}  // namespace foundation
