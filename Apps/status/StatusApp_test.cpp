#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "Apps/status/FolderWalk.h"
#include "Apps/status/StatusOptions.h"
#include "Apps/status/StatusPrinter.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::status {
namespace {

command_line::Arguments argumentsOf(const std::vector<const char*>& words) {
  return command_line::parse(statusProgram(), words);
}

StatusOptions parsed(const std::vector<const char*>& words) {
  return StatusOptions::from(argumentsOf(words));
}

TEST(StatusOptionsTest, ReadsOptionsInAnyOrderAndForm) {
  const auto options = parsed({"a", "--format=json", "--recursive", "--account", "7", "--", "--b"});
  EXPECT_EQ(options.account, "7");
  EXPECT_EQ(options.format, StatusOptions::Format::json);
  EXPECT_TRUE(options.recursive);
  EXPECT_EQ(options.paths, (std::vector<std::string>{"a", "--b"}));
}

TEST(StatusOptionsTest, RejectsUsageErrors) {
  EXPECT_THROW(parsed({}), UsageError);
  EXPECT_THROW(parsed({"--watch"}), UsageError);
  EXPECT_THROW(parsed({"--account", "7"}), UsageError);
  EXPECT_THROW(parsed({"--account", "", "a"}), UsageError);
  EXPECT_THROW(parsed({"--account"}), UsageError);
  EXPECT_THROW(parsed({"--account", "7/8", "a"}), UsageError);
  EXPECT_THROW(parsed({"--account", "7", ""}), UsageError);
  EXPECT_THROW(parsed({"--account", "7", "--format", "xml", "a"}), UsageError);
  EXPECT_THROW(parsed({"--account", "7", "--unknown", "a"}), UsageError);
}

TEST(StatusOptionsTest, TheAccountIsOptional) {
  const auto options = parsed({"--watch", "a"});
  EXPECT_FALSE(options.account);
  EXPECT_TRUE(options.watch);
}

TEST(StatusOptionsTest, HelpAndVersionNeedNothingElse) {
  using Information = command_line::Arguments::Information;
  EXPECT_EQ(argumentsOf({"--help"}).information, Information::help);
  EXPECT_EQ(argumentsOf({"--version"}).information, Information::version);
}

TEST(StatusPrinterTest, PrintsWordTabAndPath) {
  std::ostringstream out;
  StatusPrinter(out, StatusOptions::Format::text, false).print("green", "/a b", "/db");
  EXPECT_EQ(out.str(), "green\t/a b\n");
}

TEST(StatusPrinterTest, PrintsOneJsonObjectPerLine) {
  std::ostringstream out;
  StatusPrinter printer(out, StatusOptions::Format::json, true);
  printer.print("red", "/a\"\\\n\xC3\xA9\xFF", "/db");
  printer.print("none", "/b", std::nullopt);
  EXPECT_EQ(out.str(),
            "{\"path\":\"/a\\\"\\\\\\u000a\xC3\xA9\\udcff\",\"status\":\"red\","
            "\"database\":\"/db\"}\n"
            "{\"path\":\"/b\",\"status\":\"none\",\"database\":null}\n");
}

TEST(FolderWalkTest, ListsAFolderOnceAndFollowsNoLink) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("b")) << "x";
  std::filesystem::create_directory(folder.path("a"));
  std::filesystem::create_directory_symlink(folder.path("a"), folder.path("link"));
  FolderWalk walk;
  EXPECT_EQ(walk.list(folder.path()), (std::vector<std::string>{"a", "b", "link"}));
  EXPECT_TRUE(walk.list(folder.path()).empty());
  EXPECT_TRUE(walk.list(folder.path("link")).empty());
  EXPECT_TRUE(walk.list(folder.path("b")).empty());
  EXPECT_TRUE(walk.list(folder.path("missing")).empty());
}

}  // namespace
}  // namespace wevora::status
