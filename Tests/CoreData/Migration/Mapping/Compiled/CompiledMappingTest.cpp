#include "CoreData/Migration/Mapping/Compiled/CompiledMapping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "CoreData/Migration/Mapping/Compiler/MappingExpansion.h"
#include "CoreData/Model/Compiled/Envelope.h"
#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::HasSubstr;

constexpr Envelope kEnvelope = {{'C', 'D', 'M', 'M'}, 1};

MappingContent diary() {
  return expanded(MappingSource::parse(kDiaryMapping), *modelFromSource(kDiary1),
                  *modelFromSource(kDiary2));
}

Bytes contentOf(const Bytes& file) {
  const auto content = unsealed(kEnvelope, file);
  return {content.begin(), content.end()};
}

std::string refusalOfFile(const Bytes& file) {
  return refusalOf([&] { static_cast<void>(fromCompiledForm(file)); });
}

/// The file with one text exchanged for another of the same length, and the checksum that fits.
Bytes withText(Bytes file, std::string_view text, std::string_view other) {
  auto content = contentOf(file);
  const auto place = std::ranges::search(content, text);
  EXPECT_FALSE(place.empty()) << text;
  std::ranges::copy(other, place.begin());
  return sealed(kEnvelope, content);
}

TEST(CompiledMapping, ReadsBackWhatWasWritten) {
  EXPECT_EQ(fromCompiledForm(compiledForm(diary())), diary());
}

TEST(CompiledMapping, ReadsBackAnEmptyMapping) {
  MappingContent empty;
  empty.sourceVersion = "1";
  empty.destinationVersion = "2";

  EXPECT_EQ(fromCompiledForm(compiledForm(empty)), empty);
}

TEST(CompiledMapping, IsRefusedWithAnyByteChanged) {
  const auto file = compiledForm(diary());

  for (std::size_t i = 0; i < file.size(); ++i) {
    for (const int change : {0x01, 0x80, 0xff}) {
      auto damaged = file;
      damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ change);
      EXPECT_NE(refusalOfFile(damaged), "") << "byte " << i << " ^ " << change;
    }
  }
}

TEST(CompiledMapping, IsRefusedWhenItIsCutOff) {
  const auto file = compiledForm(diary());

  for (std::size_t size = 0; size < file.size(); ++size) {
    EXPECT_NE(refusalOfFile(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size))),
              "")
        << size;
  }
}

TEST(CompiledMapping, IsRefusedWhenItsContentIsCutOffOrGoesOn) {
  const auto content = contentOf(compiledForm(diary()));

  for (std::size_t size = 0; size < content.size(); ++size) {
    EXPECT_NE(refusalOfFile(sealed(kEnvelope, std::span(content).first(size))), "") << size;
  }
  auto longer = content;
  longer.push_back(0);
  EXPECT_EQ(refusalOfFile(sealed(kEnvelope, longer)),
            "The compiled file is damaged: something follows its end.");
}

/// Whatever is read must be what would have been written, or it is refused.
TEST(CompiledMapping, HasOneFormForWhatItHolds) {
  const auto content = contentOf(compiledForm(diary()));

  for (std::size_t i = 0; i < content.size(); ++i) {
    for (const int change : {0x01, 0x20, 0xff}) {
      auto changed = content;
      changed[i] = static_cast<std::uint8_t>(changed[i] ^ change);
      const auto file = sealed(kEnvelope, changed);
      if (refusalOfFile(file).empty()) {
        EXPECT_EQ(compiledForm(fromCompiledForm(file)), file) << "byte " << i << " ^ " << change;
      }
    }
  }
}

TEST(CompiledMapping, IsRefusedWhenANewerCompilerWroteIt) {
  const auto error = errorOf([] {
    const Envelope newer{kEnvelope.magic, 2};
    static_cast<void>(fromCompiledForm(sealed(newer, contentOf(compiledForm(diary())))));
  });

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code(), static_cast<std::int64_t>(ModelErrorCode::newerFormat));
}

TEST(CompiledMapping, IsRefusedWithATextThatIsNotUtf8) {
  EXPECT_EQ(refusalOfFile(withText(compiledForm(diary()), "nobody", "nob\xff\xff!")),
            "The compiled file is damaged: it holds a text that is not UTF-8.");
}

TEST(CompiledMapping, IsRefusedWithAnExpressionThatIsNone) {
  EXPECT_THAT(refusalOfFile(withText(compiledForm(diary()), "$source.mood", "$saucer.mood")),
              HasSubstr("is wrong at character 1"));
}

TEST(CompiledMapping, IsRefusedWithAnExpressionThatPrintsOtherwise) {
  EXPECT_EQ(refusalOfFile(withText(compiledForm(diary()), "\"nobody\"", "'nobody'")),
            "The compiled file is damaged: it holds an expression that nobody printed.");
}

TEST(CompiledMapping, IsRefusedWithAReplacementThatIsNoConstant) {
  EXPECT_EQ(refusalOfFile(withText(compiledForm(diary()), "\"nobody\"", "$source ")),
            "The compiled file is damaged: it holds an expression that nobody printed.");
  EXPECT_EQ(refusalOfFile(withText(compiledForm(diary()), "\"nobody\"", "$manager")),
            "The compiled file is damaged: what stands in for an absent value is no constant.");
  auto numbered = diary();
  numbered.entityMappings.back().attributes.front() = {"by", MappingExpression::parse("$source.by"),
                                                       1234};
  EXPECT_EQ(refusalOfFile(withText(compiledForm(numbered), "1234", "null")),
            "The compiled file is damaged: what stands in for an absent value is no constant.");
}

TEST(CompiledMapping, IsRefusedWithNamesThatAreNone) {
  EXPECT_EQ(refusalOfFile(withText(compiledForm(diary()), "AddTag", "Add Ta")),
            "The mapping holds an entity mapping without a proper name.");
}

}  // namespace
}  // namespace coredata
