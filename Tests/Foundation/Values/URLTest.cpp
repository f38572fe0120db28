#include "Foundation/Values/URL.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace foundation {
namespace {

URL url(std::string_view text) { return URL::parse(text).value(); }

TEST(URL, ParsesAnIdentifierOfAnObject) {
  const URL identifier = url("x-coredata://STORE-1/Activity/p42");

  EXPECT_EQ(identifier.scheme(), "x-coredata");
  EXPECT_EQ(identifier.host(), "STORE-1");
  EXPECT_EQ(identifier.path(), "/Activity/p42");
  EXPECT_EQ(identifier.lastPathComponent(), "p42");
  EXPECT_EQ(identifier.absoluteString(), "x-coredata://STORE-1/Activity/p42");
}

TEST(URL, FindsEveryPart) {
  const URL whole = url("http://me@[::1]:8080/a%20b/c?x=1/2?#top");

  EXPECT_EQ(whole.scheme(), "http");
  EXPECT_EQ(whole.host(), "::1");
  EXPECT_EQ(whole.path(), "/a b/c");
  EXPECT_EQ(whole.query(), "x=1/2?");
  EXPECT_EQ(whole.fragment(), "top");
}

TEST(URL, ParsesReferencesWithoutAScheme) {
  for (const std::string_view text : {"abc", "/x", "../a", "?q", "#f", "//host/path", "a/b:c"}) {
    const auto parsed = URL::parse(text);
    ASSERT_TRUE(parsed) << text;
    EXPECT_EQ(parsed->scheme(), "") << text;
  }
}

TEST(URL, TellsAnEmptyPartFromNone) {
  EXPECT_EQ(url("a?").query(), "");
  EXPECT_EQ(url("a").query(), std::nullopt);
  EXPECT_EQ(url("a#").fragment(), "");
  EXPECT_EQ(url("x:///a").host(), "");
  EXPECT_EQ(url("x:/a").host(), std::nullopt);
}

TEST(URL, RefusesHostileText) {
  const std::string tooLong(URL::kMaximumLength + 1, 'a');
  const std::string withNul("a\0b", 3);
  for (const std::string_view text : {std::string_view(""),
                                      std::string_view(" "),
                                      std::string_view("a b"),
                                      std::string_view("a\n"),
                                      std::string_view("a\x7f"),
                                      std::string_view("체크"),
                                      std::string_view("%"),
                                      std::string_view("a%2"),
                                      std::string_view("%zz"),
                                      std::string_view("http://[::1"),
                                      std::string_view("http://::1]"),
                                      std::string_view("http://[]"),
                                      std::string_view("http://[a[b]]"),
                                      std::string_view("a[b]"),
                                      std::string_view("http://h:port/"),
                                      std::string_view("http://a:1:2/"),
                                      std::string_view("1a:b"),
                                      std::string_view(":x"),
                                      std::string_view("a#b#c"),
                                      std::string_view("a\\b"),
                                      std::string_view("<a>"),
                                      std::string_view(withNul),
                                      std::string_view(tooLong)}) {
    EXPECT_EQ(URL::parse(text), std::nullopt) << text.substr(0, 40);
  }
}

TEST(URL, WritesAFilesPathEscaped) {
  EXPECT_EQ(URL::fileURL("/a b/체크.sqlite").absoluteString(),
            "file:///a%20b/%EC%B2%B4%ED%81%AC.sqlite");
  EXPECT_EQ(URL::fileURL("/a?b#c%20").absoluteString(), "file:///a%3Fb%23c%2520");
  EXPECT_EQ(URL::fileURL("/dir/").absoluteString(), "file:///dir/");
}

TEST(URL, GivesAFilesPathBack) {
  for (const std::string path : {"/", "/a b", "/체크/a%b", "/a;b?c#d[e]", "/\xFF\x01"}) {
    const URL file = URL::fileURL(path);
    EXPECT_TRUE(file.isFileURL());
    EXPECT_EQ(file.filePath(), path);
    EXPECT_EQ(URL::parse(file.absoluteString())->filePath(), path);
  }
  EXPECT_EQ(URL::fileURL("/dir/").filePath(), "/dir");
}

TEST(URL, StartsRelativePathsAtTheWorkingDirectory) {
  EXPECT_EQ(URL::fileURL("x").filePath(), (std::filesystem::current_path() / "x").string());
}

TEST(URL, HasNoFilePathForWhatIsNoFileHere) {
  EXPECT_EQ(url("http://a/b").filePath(), std::nullopt);
  EXPECT_EQ(url("/b").filePath(), std::nullopt);
  EXPECT_EQ(url("file://elsewhere/b").filePath(), std::nullopt);
  EXPECT_EQ(url("file:///a%00b").filePath(), std::nullopt);
  EXPECT_EQ(url("FILE://localhost/b").filePath(), "/b");
}

TEST(URL, AppendsBehindExactlyOneSlash) {
  EXPECT_EQ(URL::fileURL("/photo").appendingPathComponent("a").absoluteString(), "file:///photo/a");
  EXPECT_EQ(URL::fileURL("/photo/").appendingPathComponent("a").absoluteString(),
            "file:///photo/a");
  EXPECT_EQ(URL::fileURL("/photo/").appendingPathComponent("/a").absoluteString(),
            "file:///photo/a");
  EXPECT_EQ(URL::fileURL("/photo/").appendingPathComponent("").absoluteString(), "file:///photo/");
  EXPECT_EQ(URL::fileURL("/").appendingPathComponent("a").absoluteString(), "file:///a");
}

TEST(URL, AppendsEscapedAndLeavesDotsAsWritten) {
  EXPECT_EQ(URL::fileURL("/p").appendingPathComponent("../a b").absoluteString(),
            "file:///p/../a%20b");
  EXPECT_EQ(URL::fileURL("/p").appendingPathComponent("07:30?.jpg").absoluteString(),
            "file:///p/07:30%3F.jpg");
  EXPECT_EQ(url("http://h?q#f").appendingPathComponent("a").absoluteString(), "http://h/a?q#f");
}

TEST(URL, NamesItsLastComponent) {
  EXPECT_EQ(url("/a/b%20c").lastPathComponent(), "b c");
  EXPECT_EQ(url("/a/b/").lastPathComponent(), "b");
  EXPECT_EQ(url("/").lastPathComponent(), "/");
  EXPECT_EQ(url("?q").lastPathComponent(), "");
}

TEST(URL, NamesItsExtension) {
  EXPECT_EQ(url("/a/Model.momd/").pathExtension(), "momd");
  EXPECT_EQ(url("/a.b/c").pathExtension(), "");
  EXPECT_EQ(url("/.hidden").pathExtension(), "");
}

TEST(URL, GoesUpToTheDirectory) {
  EXPECT_EQ(url("file:///a/b").deletingLastPathComponent().absoluteString(), "file:///a/");
  EXPECT_EQ(url("file:///a/b/").deletingLastPathComponent().absoluteString(), "file:///a/");
  EXPECT_EQ(url("a").deletingLastPathComponent().absoluteString(), "./");
  EXPECT_EQ(url("file:///").deletingLastPathComponent().absoluteString(), "file:///");
}

}  // namespace
}  // namespace foundation
