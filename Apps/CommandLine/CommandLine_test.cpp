#include <array>
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/Json.h"
#include "Apps/CommandLine/PathArgument.h"
#include "Apps/CommandLine/TransferProgress.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::command_line {
namespace {

namespace fs = std::filesystem;

TEST(ArgumentsTest, AValueFollowsItsNameOrAnEqualsSign) {
  const std::array<const char*, 4> all = {"--a", "1", "--a=2", "--ab"};
  Arguments arguments(all);
  EXPECT_EQ(arguments.value(arguments.take(), "--a"), "1");
  EXPECT_EQ(arguments.value(arguments.take(), "--a"), "2");
  EXPECT_EQ(arguments.value("--ab", "--a"), std::nullopt);
  EXPECT_EQ(arguments.take(), "--ab");
  EXPECT_FALSE(arguments.more());
  EXPECT_THROW(arguments.value("--a", "--a"), WrongUsage);
}

TEST(ArgumentsTest, AFormatIsTextOrJson) {
  EXPECT_EQ(formatNamed("text"), Format::text);
  EXPECT_EQ(formatNamed("json"), Format::json);
  EXPECT_THROW(formatNamed("xml"), WrongUsage);
}

TEST(JsonString, KeepsEveryByte) {
  EXPECT_EQ(jsonString("a\"\\\n\x7F\xC3\xA9\xFF"), "\"a\\\"\\\\\\u000a\\u007f\xC3\xA9\\udcff\"");
}

TEST(PathArgument, LeadsWhereTheKernelWouldGo) {
  const platform::TemporaryFolder folder;
  fs::create_directories(folder.path("a/deep"));
  fs::create_directory_symlink("a/deep", folder.path("link"));
  EXPECT_EQ(pathArgument(folder.path("link/../x")), folder.path("a/x"));
  EXPECT_EQ(pathArgument(folder.path("link/..")), folder.path("a"));
  EXPECT_EQ(pathArgument(folder.path("a/../link")), folder.path("link"));
  EXPECT_EQ(pathArgument(folder.path("./a//b/")), folder.path("a/b"));
  EXPECT_EQ(pathArgument("x"), fs::current_path().string() + "/x");
  EXPECT_EQ(pathArgument("."), fs::current_path().string());
  EXPECT_THROW(pathArgument(""), WrongUsage);
}

TEST(OneLine, EscapesWhatWouldBreakTheLine) {
  EXPECT_EQ(oneLine("a\nb\033\xC3\xA9"), "a\\x0ab\\x1b\xC3\xA9");
}

TEST(TransferProgressTest, TellsManyBytesAndTakesTheLineAway) {
  std::ostringstream terminal;
  {
    TransferProgress progress(terminal, true, "digest", std::uint64_t{64} << 20);
    progress.add(100);
    EXPECT_EQ(terminal.str(), "");
    progress.add(std::uint64_t{16} << 20);
    EXPECT_EQ(terminal.str(), "\rdigest: 16 MiB of 64 MiB, 25 %\033[K");
  }
  EXPECT_TRUE(terminal.str().ends_with("\r\033[K"));
}

TEST(TransferProgressTest, SaysNothingWhereNobodyLooksAndOfSmallFiles) {
  std::ostringstream terminal;
  {
    TransferProgress unwanted(terminal, false, "copy");
    unwanted.add(std::uint64_t{1} << 30);
    TransferProgress small(terminal, true, "copy");
    small.add(1);
  }
  EXPECT_EQ(terminal.str(), "");
}

}  // namespace
}  // namespace wevora::command_line
