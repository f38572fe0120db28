#include "CoreData/Model/Compiled/CompiledModel.h"

#include <gtest/gtest.h>

#include <functional>
#include <span>

#include "CoreData/Model/Compiled/Checksum.h"
#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

using Bytes = std::vector<std::uint8_t>;

CompiledModel library() { return compiled(ModelSource::parse(kLibrary)); }

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

std::string_view textOf(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The file with a checksum that fits, so that what follows the check is put to the test.
Bytes resealed(Bytes file) {
  const auto end = file.size() - 4;
  const auto sum = checksum(std::span(file).first(end));
  for (std::size_t i = 0; i < 4; ++i) file[end + i] = static_cast<std::uint8_t>(sum >> (8 * i));
  return file;
}

/// The code of the error that the file is refused with, from reading to the finished model; none
/// when it is taken.
std::optional<ModelErrorCode> refusalOfFile(const std::function<CompiledModel()>& read) {
  const auto error = errorOf([&] {
    auto model = read();
    static_cast<void>(ModelBuilder::build(std::move(model.source), model.hashes));
  });
  if (!error) return std::nullopt;
  return static_cast<ModelErrorCode>(error->code());
}

std::optional<ModelErrorCode> refusalOfOptimized(const Bytes& file) {
  return refusalOfFile([&] { return fromOptimizedForm(file); });
}

std::optional<ModelErrorCode> refusalOfReadable(std::string_view file) {
  return refusalOfFile([&] { return fromReadableForm(file); });
}

bool isDamage(const std::optional<ModelErrorCode>& code) {
  return code == ModelErrorCode::damaged || code == ModelErrorCode::newerFormat;
}

std::string checksumText(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string digits;
  for (int shift = 28; shift >= 0; shift -= 4) digits += kDigits[(checksum(text) >> shift) & 0xf];
  return digits;
}

TEST(Checksum, IsTheCommonOne) {
  EXPECT_EQ(checksum(std::string_view("123456789")), 0xcbf43926);
  EXPECT_EQ(checksum(std::string_view()), 0);
}

TEST(CompiledModel, ReadsTheOptimizedFormAsWhatWasWritten) {
  EXPECT_EQ(fromOptimizedForm(optimizedForm(library())), library());
}

TEST(CompiledModel, ReadsTheReadableFormAsWhatWasWritten) {
  EXPECT_EQ(fromReadableForm(readableForm(library())), library());
}

TEST(CompiledModel, ReadsBothFormsOfAnEmptyModel) {
  const auto empty = compiled({});

  EXPECT_EQ(fromOptimizedForm(optimizedForm(empty)), empty);
  EXPECT_EQ(fromReadableForm(readableForm(empty)), empty);
}

TEST(CompiledModel, KeepsDefaultsToTheLastBit) {
  ModelSource source;
  source.entities = {entitySource(
      "A", {attributeSource("d", NSAttributeType::double_, 0.1),
            attributeSource("i", NSAttributeType::integer64, std::int64_t{INT64_MIN}),
            attributeSource("t", NSAttributeType::string, std::string("a\0b\xc3\xa9", 5))})};
  const auto model = compiled(source);

  EXPECT_EQ(fromOptimizedForm(optimizedForm(model)), model);
  EXPECT_EQ(fromReadableForm(readableForm(model)), model);
}

TEST(CompiledModel, RefusesToCompileAModelThatContradictsItself) {
  EXPECT_NE(refusalOf([] {
              static_cast<void>(compiled(ModelSource::parse(R"({"entities": {"_": {}}})")));
            }),
            "");
}

TEST(CompiledModel, RefusesATextTooLongForItsCount) {
  ModelSource source;
  source.identifiers = {std::string(65536, 'a')};
  const auto model = compiled(source);

  EXPECT_EQ(refusalOf([&] { static_cast<void>(optimizedForm(model)); }),
            "There is a list or a text too long to be compiled.");
}

TEST(OptimizedForm, IsRefusedWithAnyByteChanged) {
  const auto file = optimizedForm(library());

  for (std::size_t i = 0; i < file.size(); ++i) {
    for (const int change : {0x01, 0x80, 0xff}) {
      auto damaged = file;
      damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ change);
      EXPECT_TRUE(isDamage(refusalOfOptimized(damaged))) << "byte " << i << " ^ " << change;
    }
  }
}

TEST(OptimizedForm, IsRefusedWhenItIsCutOff) {
  const auto file = optimizedForm(library());

  for (std::size_t size = 0; size < file.size(); ++size) {
    const Bytes damaged(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_TRUE(isDamage(refusalOfOptimized(damaged))) << size << " bytes";
  }
}

TEST(OptimizedForm, IsRefusedWhenItIsCutOffUnderAChecksumThatFits) {
  const auto file = optimizedForm(library());

  for (std::size_t size = 10; size < file.size(); ++size) {
    const Bytes damaged(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(refusalOfOptimized(resealed(damaged)), ModelErrorCode::damaged) << size << " bytes";
  }
}

TEST(OptimizedForm, IsRefusedWithSomethingBehindItsEnd) {
  auto file = optimizedForm(library());
  file.push_back(0);

  EXPECT_EQ(refusalOfOptimized(file), ModelErrorCode::damaged);
  EXPECT_EQ(refusalOfOptimized(resealed(file)), ModelErrorCode::damaged);
}

/// A change under a checksum that fits may still give a model, another one. It may do no harm, and
/// what is read must be what would be written.
TEST(OptimizedForm, TakesOnlyWhatItWouldWriteUnderAChecksumThatFits) {
  const auto file = optimizedForm(library());

  for (std::size_t i = 0; i + 4 < file.size(); ++i) {
    for (const int change : {0x01, 0x02, 0x20, 0x80, 0xff}) {
      auto changed = file;
      changed[i] = static_cast<std::uint8_t>(changed[i] ^ change);
      changed = resealed(changed);
      if (refusalOfOptimized(changed)) continue;
      EXPECT_EQ(optimizedForm(fromOptimizedForm(changed)), changed) << "byte " << i;
    }
  }
}

TEST(OptimizedForm, IsRefusedBeforeRoomIsMadeForACountThatItCannotHold) {
  Bytes file = bytesOf("CDMO");
  file.insert(file.end(), {1, 0});
  file.insert(file.end(), 32, 0);
  file.insert(file.end(), {0xff, 0xff});  // identifiers
  file.insert(file.end(), 100, 0);

  EXPECT_EQ(refusalOf([&] { static_cast<void>(fromOptimizedForm(resealed(file))); }),
            "The compiled file is damaged: it counts more than it holds.");
}

TEST(OptimizedForm, IsRefusedWithHugeCountsAnywhere) {
  const auto file = optimizedForm(library());

  for (std::size_t i = 38; i + 6 < file.size(); ++i) {
    auto changed = file;
    changed[i] = 0xff;
    changed[i + 1] = 0xff;
    const auto code = refusalOfOptimized(resealed(changed));
    EXPECT_TRUE(!code || isDamage(code) || code == ModelErrorCode::invalidModel);
  }
}

TEST(OptimizedForm, SaysThatANewerCompilerWroteIt) {
  auto file = optimizedForm(library());
  file[4] = 2;

  EXPECT_EQ(refusalOf([&] { static_cast<void>(fromOptimizedForm(file)); }),
            "The compiled file is in format 2, which a newer compiler writes.");
}

TEST(OptimizedForm, IsRefusedWithItsEntitiesOutOfOrder) {
  auto model = library();
  std::swap(model.source.entities[0], model.source.entities[1]);

  EXPECT_EQ(refusalOfOptimized(optimizedForm(model)), ModelErrorCode::damaged);
}

TEST(OptimizedForm, IsRefusedWithTheBytesOfSomethingElse) {
  for (const auto* text : {"", "C", "SQLite format 3", "{}", "CDMO", "CDMO\x01"}) {
    EXPECT_EQ(refusalOfOptimized(bytesOf(text)), ModelErrorCode::damaged) << text;
  }
}

TEST(ReadableForm, IsRefusedWithAnyByteChanged) {
  const auto file = bytesOf(readableForm(library()));

  for (std::size_t i = 0; i < file.size(); ++i) {
    for (const int change : {0x01, 0x20, 0xff}) {
      auto damaged = file;
      damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ change);
      EXPECT_TRUE(isDamage(refusalOfReadable(textOf(damaged)))) << "byte " << i << " ^ " << change;
    }
  }
}

TEST(ReadableForm, IsRefusedWhenItIsCutOff) {
  const auto file = readableForm(library());

  for (std::size_t size = 0; size < file.size(); ++size) {
    EXPECT_TRUE(isDamage(refusalOfReadable(std::string_view(file).substr(0, size)))) << size;
  }
}

TEST(ReadableForm, IsRefusedWithSomethingBehindItsEnd) {
  EXPECT_EQ(refusalOfReadable(readableForm(library()) + " "), ModelErrorCode::damaged);
}

TEST(ReadableForm, IsRefusedWithAModelThatContradictsItselfUnderAChecksumThatFits) {
  const std::string source = R"({"entities": {"_": {}}})";
  const auto file = R"({"compiledModel": 1, "checksum": ")" + checksumText(source) +
                    "\", \"model\":\n" + source + "}\n";

  EXPECT_EQ(refusalOfReadable(file), ModelErrorCode::invalidModel);
}

TEST(ReadableForm, SaysThatANewerCompilerWroteIt) {
  auto file = readableForm(library());
  file.replace(file.find("1,"), 1, "12");

  EXPECT_EQ(refusalOf([&] { static_cast<void>(fromReadableForm(file)); }),
            "The compiled model is in format 12, which a newer compiler writes.");
}

TEST(ReadableForm, IsRefusedWithAFormatThatNobodyWrites) {
  for (const char* format : {"0,", "01,", "x,"}) {
    auto file = readableForm(library());
    file.replace(file.find("1,"), 2, format);
    EXPECT_EQ(refusalOfReadable(file), ModelErrorCode::damaged) << format;
  }
}

TEST(ReadableForm, BeginsWithItsChecksumAndGoesOnAsTheSource) {
  const auto file = readableForm(library());
  const auto source = library().source.text();

  EXPECT_EQ(file, R"({"compiledModel": 1, "checksum": ")" + checksumText(source) +
                      "\", \"model\":\n" + source + "}\n");
}

}  // namespace
}  // namespace coredata
