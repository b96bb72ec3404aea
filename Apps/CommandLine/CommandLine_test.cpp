#include <filesystem>
#include <functional>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/Json.h"
#include "Apps/CommandLine/PathArgument.h"
#include "Apps/CommandLine/Program.h"
#include "Apps/CommandLine/TransferProgress.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::command_line {
namespace {

namespace fs = std::filesystem;

const Program& plainProgram() {
  static const Program program{
      .name = "plain",
      .summary = "Does it.",
      .commands = {{.name = "",
                    .operands = {"PATH...", 1, Operands::kAnyNumber},
                    .options = {{"--a", "N", "sets a"}, {"--ab", "", "sets ab"}}}}};
  return program;
}

const Program& programWithCommands() {
  static const Program program{
      .name = "many",
      .summary = "Does one of these, which takes more words than fit into one line of a terminal.",
      .commands = {{.name = "copy",
                    .operands = {"SRC DST", 2},
                    .help = "copy SRC",
                    .options = {{"--to", "DISK", "where", Option::Use::required},
                                {"--skip", "MASK", "what not", Option::Use::repeatable}}},
                   {.name = "run",
                    .operands = {"[ARGUMENT]...", 0, Operands::kAnyNumber},
                    .help = "run it",
                    .verbatim = true},
                   {.name = "help", .help = "print this text"}},
      .options = {{"--format", "text|json", "form of the output"}},
      .sections = {{"Exit status", {{"0", "done"}}}}};
  return program;
}

Arguments plain(const std::vector<const char*>& words) {
  return parse(plainProgram(), words);
}
Arguments withCommands(const std::vector<const char*>& words) {
  return parse(programWithCommands(), words);
}

std::string usageError(const std::function<void()>& call) {
  try {
    call();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

using Words = std::vector<std::string>;

TEST(ArgumentsTest, AValueFollowsItsNameOrAnEqualsSign) {
  EXPECT_EQ(plain({"--a", "1", "x"}).value("--a"), "1");
  EXPECT_EQ(plain({"--a=2", "x"}).value("--a"), "2");
  EXPECT_EQ(plain({"--a=", "x"}).value("--a"), "");
  EXPECT_EQ(plain({"--ab", "x"}).value("--a"), std::nullopt);
  EXPECT_TRUE(plain({"--ab", "x"}).has("--ab"));
  EXPECT_EQ(usageError([] { plain({"x", "--a"}); }), "--a needs a value: N");
  EXPECT_EQ(usageError([] { plain({"--ab=1", "x"}); }), "--ab takes no value");
  EXPECT_EQ(usageError([] { plain({"--b", "x"}); }), "unknown option '--b'");
}

TEST(ArgumentsTest, TheLastValueOfAnOptionIsUsedUnlessItIsRepeatable) {
  const auto arguments =
      withCommands({"copy", "--to", "a", "--to=b", "--skip=1", "--skip=2", "x", "y"});
  EXPECT_EQ(arguments.value("--to"), "b");
  EXPECT_EQ(arguments.values("--skip"), (Words{"1", "2"}));
  EXPECT_EQ(arguments.values("--format"), Words());
}

TEST(ArgumentsTest, OperandsMixWithOptionsUntilTwoDashes) {
  EXPECT_EQ(plain({"x", "--ab", "-", "--", "--ab", "--"}).operands,
            (Words{"x", "-", "--ab", "--"}));
  EXPECT_EQ(plain({"\xFF"}).operands, Words{"\xFF"});
  EXPECT_EQ(usageError([] { plain({}); }), "expected PATH...");
}

TEST(ArgumentsTest, ACommandHasItsOwnOptionsAndOperands) {
  EXPECT_EQ(withCommands({"copy", "x", "--to", "d", "y"}).command, "copy");
  EXPECT_EQ(withCommands({"--format=json", "copy", "--to", "d", "x", "y"}).value("--format"),
            "json");
  EXPECT_EQ(usageError([] { withCommands({"copy", "x", "y"}); }), "--to DISK is required");
  EXPECT_EQ(usageError([] {
              withCommands({"copy", "--to=d", "x"});
            }),
            "expected SRC DST after 'copy'");
  EXPECT_EQ(usageError([] {
              withCommands({"copy", "--to=d", "x", "y", "z"});
            }),
            "unexpected argument 'z'");
  EXPECT_EQ(usageError([] { withCommands({"copy", "--no"}); }), "unknown option '--no' of 'copy'");
  EXPECT_EQ(usageError([] {
              withCommands({"--to", "d", "copy"});
            }),
            "unknown option '--to' before the command; expected 'copy', 'run' or 'help'");
  EXPECT_EQ(usageError([] { withCommands({}); }), "expected 'copy', 'run' or 'help'");
  EXPECT_EQ(usageError([] { withCommands({"fly"}); }),
            "expected 'copy', 'run' or 'help', not 'fly'");
}

TEST(ArgumentsTest, AVerbatimCommandPassesEverythingOn) {
  EXPECT_EQ(withCommands({"run", "--help", "--", "-x"}).operands, (Words{"--help", "--", "-x"}));
}

TEST(ArgumentsTest, HelpAndVersionNeedNothingElse) {
  using Information = Arguments::Information;
  EXPECT_EQ(plain({"--help"}).information, Information::help);
  EXPECT_EQ(plain({"-h", "--unknown"}).information, Information::help);
  EXPECT_EQ(withCommands({"copy", "--version"}).information, Information::version);
  EXPECT_EQ(withCommands({"help"}).information, Information::help);
  EXPECT_EQ(plain({"--", "--help"}).information, Information::nothing);
}

TEST(HelpText, IsMadeFromTheTables) {
  EXPECT_EQ(helpText(plainProgram()),
            "usage: plain [--a N] [--ab] PATH...\n"
            "\n"
            "Does it.\n"
            "\n"
            "  --a N             sets a\n"
            "  --ab              sets ab\n"
            "  --help, --version\n");
  EXPECT_EQ(helpText(programWithCommands()),
            "usage: many copy|run|help [ARGUMENT]...\n"
            "\n"
            "Does one of these, which takes more words than fit into one line of a terminal.\n"
            "\n"
            "  copy SRC DST      copy SRC\n"
            "    --to DISK       where (required)\n"
            "    --skip MASK     what not (may be repeated)\n"
            "  run [ARGUMENT]... run it\n"
            "  help              print this text\n"
            "\n"
            "  --format text|json\n"
            "                    form of the output\n"
            "  --help, --version\n"
            "\n"
            "Exit status:\n"
            "  0                 done\n");
}

TEST(HelpText, TheUsageLineNamesTheCommandsAndTheirCommonOperands) {
  EXPECT_TRUE(helpText({.name = "flip", .summary = "Flips.", .commands = {{"on"}, {"off"}}})
                  .starts_with("usage: flip on|off\n"));
  EXPECT_TRUE(helpText({.name = "flip",
                        .summary = "Flips.",
                        .commands = {{"on", {"PATH...", 1}}, {"off", {"PATH...", 1}}}})
                  .starts_with("usage: flip on|off PATH...\n"));
}

TEST(RequireAccountId, AnIdIsNotEmptyAndHasNoSlash) {
  requireAccountId("7");
  EXPECT_EQ(usageError([] { requireAccountId(""); }), "--account needs a non-empty value");
  EXPECT_EQ(usageError([] { requireAccountId("a/b", "ctl account"); }),
            "ctl account: expected an ID without '/', not 'a/b'");
}

TEST(ArgumentsTest, AFormatIsTextOrJson) {
  EXPECT_EQ(formatNamed("text"), Format::text);
  EXPECT_EQ(formatNamed("json"), Format::json);
  EXPECT_THROW(formatNamed("xml"), UsageError);
}

TEST(JsonString, KeepsEveryByte) {
  EXPECT_EQ(jsonString("a\"\\\n\x7F\xC3\xA9\xFF"), "\"a\\\"\\\\\\u000a\\u007f\xC3\xA9\\udcff\"");
}

TEST(PathArgument, ResolvesDotDotAsTheKernelDoes) {
  const platform::TemporaryFolder folder;
  fs::create_directories(folder.path("a/deep"));
  fs::create_directory_symlink("a/deep", folder.path("link"));
  EXPECT_EQ(pathArgument(folder.path("link/../x")), folder.path("a/x"));
  EXPECT_EQ(pathArgument(folder.path("link/..")), folder.path("a"));
  EXPECT_EQ(pathArgument(folder.path("a/../link")), folder.path("link"));
  EXPECT_EQ(pathArgument(folder.path("./a//b/")), folder.path("a/b"));
  EXPECT_EQ(pathArgument("x"), fs::current_path().string() + "/x");
  EXPECT_EQ(pathArgument("."), fs::current_path().string());
  EXPECT_THROW(pathArgument(""), UsageError);
}

TEST(OneLine, EscapesWhatWouldBreakTheLine) {
  EXPECT_EQ(oneLine("a\nb\033\xC3\xA9"), "a\\x0ab\\x1b\xC3\xA9");
}

TEST(TransferProgressTest, ShowsManyBytesAndClearsItsLine) {
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

TEST(TransferProgressTest, PrintsNothingUnlessWantedNorForSmallFiles) {
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
