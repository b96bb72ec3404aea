#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/files/FilesCommands.h"
#include "Apps/files/FilesOptions.h"
#include "Apps/files/Interruption.h"
#include "Apps/files/ReportingFileOperations.h"
#include "Tests/Doubles/FaultInjectingFileSystem.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::files {
namespace {

namespace fs = std::filesystem;
using Command = FilesOptions::Command;

command_line::Arguments argumentsOf(const std::vector<const char*>& words) {
  return command_line::parse(filesProgram(), words);
}

FilesOptions parsed(const std::vector<const char*>& words) {
  return FilesOptions::from(argumentsOf(words));
}

TEST(FilesOptionsTest, ReadsTheOptionsOfACommandInAnyOrder) {
  const auto list = parsed({"list", "--no-dirs", "a", "--mask=*.txt", "--no-files", "--no-resolve",
                            "--keep-links", "--resolved", "--format", "json"});
  EXPECT_EQ(list.command, Command::list);
  EXPECT_EQ(list.mask, "*.txt");
  EXPECT_TRUE(list.skipDirectories && list.skipFiles && list.useResolvedPaths);
  EXPECT_FALSE(list.resolveSymlinks || list.skipSymlinks);
  EXPECT_EQ(list.format, FilesOptions::Format::json);
  EXPECT_EQ(list.paths, std::vector<std::string>{"a"});
  const auto backup = parsed({"backup", "--attempts", "0", "--", "-a", "--b"});
  EXPECT_EQ(backup.attempts, 0U);
  EXPECT_EQ(backup.paths, (std::vector<std::string>{"-a", "--b"}));
  EXPECT_FALSE(parsed({"scan", "a", "--files"}).saveFolders);
  EXPECT_TRUE(parsed({"scan", "a"}).saveFolders);
}

TEST(FilesOptionsTest, TheDefaultsAreThoseOfTheShortestForms) {
  const auto list = parsed({"list", "a"});
  EXPECT_EQ(list.mask, std::nullopt);
  EXPECT_TRUE(list.resolveSymlinks && list.skipSymlinks);
  EXPECT_FALSE(list.skipDirectories || list.skipFiles || list.useResolvedPaths);
  EXPECT_EQ(parsed({"backup", "a", "b"}).attempts, std::nullopt);
}

TEST(FilesOptionsTest, RefusesWrongCallsWithAReason) {
  for (const auto& wrong : std::vector<std::vector<const char*>>{
           {},
           {"unknown", "a"},
           {"list"},
           {"list", "a", "b"},
           {"list", "--files", "a"},
           {"scan", "--mask", "x", "a"},
           {"ignored"},
           {"ignored", ""},
           {"ignored", "--mask", "a"},
           {"list", "a", "--mask"},
           {"backup", "a"},
           {"backup", "a", "b", "c"},
           {"backup", "--attempts", "-1", "a", "b"},
           {"backup", "--attempts", "2x", "a", "b"},
           {"backup", "--attempts=99999999999999999999", "a", "b"},
           {"md5", "--format", "xml", "a"}})
    EXPECT_THROW(parsed(wrong), UsageError);
}

TEST(FilesOptionsTest, AnOptionOfAllCommandsMayComeBeforeTheCommand) {
  for (const auto& call : std::vector<std::vector<const char*>>{{"--format", "json", "md5", "f"},
                                                                {"--format=json", "md5", "f"}}) {
    const auto options = parsed(call);
    EXPECT_EQ(options.command, Command::md5);
    EXPECT_EQ(options.format, FilesOptions::Format::json);
    EXPECT_EQ(options.paths, std::vector<std::string>{"f"});
  }
  for (const auto& wrong : std::vector<std::vector<const char*>>{{"--format", "json"},
                                                                 {"--mask", "x", "list", "a"},
                                                                 {"--", "md5", "f"},
                                                                 {"--format=json", "f"}})
    EXPECT_THROW(parsed(wrong), UsageError);
}

TEST(FilesOptionsTest, HelpAndVersionNeedNothingElse) {
  using Information = command_line::Arguments::Information;
  EXPECT_EQ(argumentsOf({"help"}).information, Information::help);
  EXPECT_EQ(argumentsOf({"--help"}).information, Information::help);
  EXPECT_EQ(argumentsOf({"list", "-h"}).information, Information::help);
  EXPECT_EQ(argumentsOf({"--version"}).information, Information::version);
}

class FilesCommandsTest : public testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& text = "x") {
    std::ofstream(folder.path(name)) << text;
    return folder.path(name);
  }
  int run(std::vector<std::string> arguments) {
    std::vector<const char*> texts;
    for (const auto& argument : arguments) texts.push_back(argument.c_str());
    const auto options = parsed(texts);
    out.str("");
    errors.str("");
    return FilesCommands(options, {out, errors, true}, {folder.path(), folder.path("Trash"), 1000},
                         platform::Shell(folder.path("programs")))
        .run();
  }

  const platform::TemporaryFolder folder;
  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(FilesCommandsTest, IgnoredSucceedsOnlyWhenAllItemsAreIgnored) {
  const auto part = file("a.part");
  EXPECT_EQ(run({"ignored", part}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), "ignored\t" + part + "\n");
  const auto plain = file("a");
  EXPECT_EQ(run({"ignored", "--format=json", part, plain}), FilesCommands::kNo);
  EXPECT_EQ(out.str(), "{\"path\":\"" + part + "\",\"ignored\":true}\n{\"path\":\"" + plain +
                           "\",\"ignored\":false}\n");
}

TEST_F(FilesCommandsTest, TrashSucceedsOnlyWhenAllItemsAreInTheTrash) {
  fs::create_directories(folder.path("Trash/files"));
  const auto trashed = file("Trash/files/trashed");
  EXPECT_EQ(run({"trash", trashed}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), "trash\t" + trashed + "\n");
  EXPECT_EQ(run({"trash", trashed, file("a")}), FilesCommands::kNo);
  EXPECT_EQ(run({"trash", "--format=json", trashed}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), "{\"path\":\"" + trashed + "\",\"trash\":true}\n");
}

TEST_F(FilesCommandsTest, Md5PrintsTheFormatOfMd5sumAndContinuesAfterAFailure) {
  const auto empty = file("empty", "");
  EXPECT_EQ(run({"md5", folder.path("gone"), empty}), FilesCommands::kNo);
  EXPECT_EQ(out.str(), "d41d8cd98f00b204e9800998ecf8427e  " + empty + "\n");
  EXPECT_EQ(errors.str(),
            "wevora-files: cannot read '" + folder.path("gone") + "': No such file or directory\n");
  EXPECT_EQ(run({"md5", "--format=json", folder.path("gone")}), FilesCommands::kNo);
  EXPECT_EQ(out.str(), "{\"path\":\"" + folder.path("gone") + "\",\"md5\":null}\n");
}

TEST_F(FilesCommandsTest, Md5ReportsTheReasonOfEachFailure) {
  EXPECT_EQ(run({"md5", folder.path()}), FilesCommands::kNo);
  EXPECT_EQ(errors.str(),
            "wevora-files: cannot read '" + folder.path() + "': not a regular file\n");
  EXPECT_EQ(run({"md5", "/proc/self/mem"}), FilesCommands::kNo);
  EXPECT_EQ(errors.str(), "wevora-files: cannot read '/proc/self/mem': read error\n");
}

TEST_F(FilesCommandsTest, LargeDigestsAndCopiesShowTheirProgress) {
  const auto large = file("large");
  fs::resize_file(large, 40 << 20);
  EXPECT_EQ(run({"md5", large}), FilesCommands::kYes);
  EXPECT_THAT(errors.str(), testing::HasSubstr("digest: 32 MiB of 40 MiB, 80 %"));
  EXPECT_EQ(run({"backup", large, folder.path("copy")}), FilesCommands::kYes);
  EXPECT_THAT(errors.str(), testing::HasSubstr("copied and compared: "));
  EXPECT_THAT(errors.str(), testing::HasSubstr(" of 80 MiB, "));
  fs::create_directories(folder.path("deep/deeper"));
  fs::rename(large, folder.path("deep/deeper/large"));
  EXPECT_EQ(run({"backup", folder.path("deep"), folder.path("copies")}), FilesCommands::kYes);
  EXPECT_THAT(errors.str(), testing::HasSubstr(" of 80 MiB, 90 %"));
}

TEST_F(FilesCommandsTest, ListAndScanPrintPathsAndReportAnUnreadableFolder) {
  fs::create_directories(folder.path("a/folder"));
  file("a/file.txt");
  EXPECT_EQ(run({"list", "--no-dirs", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), folder.path("a/file.txt") + "\n");
  EXPECT_EQ(run({"list", "--mask", "*.TXT", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(run({"scan", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), folder.path("a/folder") + "\n");
  EXPECT_EQ(run({"scan", "--files", "--format=json", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), "{\"path\":\"" + folder.path("a/file.txt") + "\"}\n");
  for (const auto* command : {"list", "scan"}) {
    EXPECT_EQ(run({command, folder.path("gone")}), FilesCommands::kNo);
    EXPECT_EQ(errors.str(), "wevora-files: cannot list '" + folder.path("gone") +
                                "': No such file or directory\n");
  }
}

TEST_F(FilesCommandsTest, WithNullPathsWithLineBreaksAreSeparatedByNuls) {
  fs::create_directories(folder.path("a/one\ntwo"));
  EXPECT_EQ(run({"scan", "--null", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), folder.path("a/one\ntwo") + std::string(1, '\0'));
  EXPECT_EQ(run({"list", "--null", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), folder.path("a/one\ntwo") + std::string(1, '\0'));
  EXPECT_THROW(parsed({"md5", "--null", "a"}), UsageError);
  EXPECT_THROW(parsed({"list", "--null", "--format=json", "a"}), UsageError);
}

/// Simulates a terminal on which the user presses Ctrl-C when a progress text appears.
class InterruptingTerminal : public std::stringbuf {
 public:
  explicit InterruptingTerminal(std::string word) : word_(std::move(word)) {}

 protected:
  int sync() override {
    if (str().find(word_) != std::string::npos && !std::exchange(pressed_, true))
      std::raise(SIGINT);
    return 0;
  }

 private:
  std::string word_;
  bool pressed_ = false;
};

class InterruptedBackupTest : public FilesCommandsTest {
 protected:
  InterruptedBackupTest() {
    std::signal(SIGINT, SIG_DFL);  // a shell ignores SIGINT in its background jobs
    fs::resize_file(file("a"), 64 << 20);
    fs::create_directory(folder.path("copies"));
  }
  void backUpAndInterruptAt(const std::string& word, std::vector<std::string> arguments) {
    InterruptingTerminal terminal(word);
    std::ostream stream(&terminal);
    std::vector<const char*> texts;
    for (const auto& argument : arguments) texts.push_back(argument.c_str());
    const auto options = parsed(texts);
    try {
      FilesCommands(options, {out, stream, true}).run();
      ADD_FAILURE() << "not interrupted";
    } catch (const Interrupted& interrupted) {
      EXPECT_EQ(interrupted.signal(), SIGINT);
    }
  }
};

TEST_F(InterruptedBackupTest, LeavesNothingBehind) {
  for (const auto* word :
       {"64 MiB of 128", "96 MiB of 128"})  // during the copy, and the comparison
    for (const auto* attempts : {"--attempts=1", "--attempts=18446744073709551615"}) {
      backUpAndInterruptAt(word, {"backup", attempts, folder.path("a"), folder.path("copies/b")});
      EXPECT_TRUE(fs::is_empty(folder.path("copies")));
    }
  backUpAndInterruptAt("96 MiB of 128", {"backup", folder.path("a"), folder.path("copies/b")});
  EXPECT_TRUE(fs::is_empty(folder.path("copies")));
  EXPECT_EQ(fs::file_size(folder.path("a")), std::uintmax_t{64 << 20});
}

TEST_F(InterruptedBackupTest, AnExistingDestinationStays) {
  file("copies/b", "before");
  const Interruption interruption;
  platform::SystemFileOperations system;
  ReportingFileOperations operations(system);
  std::raise(SIGTERM);
  EXPECT_THROW(operations.copyItem(folder.path("a"), folder.path("copies/b")), Interrupted);
  EXPECT_FALSE(operations.hasCopied());
  EXPECT_TRUE(fs::exists(folder.path("copies/b")));
}

TEST_F(FilesCommandsTest, BackupReportsWhyItFailed) {
  EXPECT_EQ(run({"backup", file("a"), folder.path("b")}), FilesCommands::kYes);
  EXPECT_EQ(out.str() + errors.str(), "");
  EXPECT_EQ(run({"backup", "--format=json", folder.path("a"), folder.path("b")}),
            FilesCommands::kNo);
  EXPECT_EQ(out.str(), "{\"source\":\"" + folder.path("a") + "\",\"destination\":\"" +
                           folder.path("b") + "\",\"done\":false}\n");
  EXPECT_THAT(errors.str(), testing::HasSubstr("File exists"));
  EXPECT_TRUE(fs::exists(folder.path("b")));
  EXPECT_EQ(run({"backup", "--attempts", "2", folder.path("a"), folder.path("b")}),
            FilesCommands::kNo);
  EXPECT_FALSE(fs::exists(folder.path("b")));
  EXPECT_EQ(run({"backup", "--attempts=0", folder.path("a"), folder.path("b")}),
            FilesCommands::kNo);
  EXPECT_THAT(errors.str(), testing::HasSubstr("no attempt was made"));
}

TEST_F(FilesCommandsTest, HideVerifiesThatTheItemIsInvisible) {
  fs::create_directory(folder.path("programs"));
  std::ofstream(folder.path("programs/chflags")) << "#!/bin/sh\nexit 0\n";
  fs::permissions(folder.path("programs/chflags"), fs::perms::owner_all);
  EXPECT_EQ(run({"hide", file("a")}), FilesCommands::kNo);
  EXPECT_EQ(errors.str(), "wevora-files: cannot hide '" + folder.path("a") +
                              "': it is still visible after running chflags\n");
  std::ofstream(folder.path("programs/chflags"))
      << "#!/bin/sh\nbasename \"$2\" >>'" << folder.path(".hidden") << "'\n";
  EXPECT_EQ(run({"hide", folder.path("a")}), FilesCommands::kYes);
  EXPECT_EQ(out.str(), "hidden\t" + folder.path("a") + "\n");
}

TEST_F(FilesCommandsTest, APathWithASingleQuoteIsNeverPassedToTheShell) {
  EXPECT_EQ(run({"hide", file("x'; touch '" + std::string("y"))}), FilesCommands::kNo);
  EXPECT_THAT(errors.str(), testing::HasSubstr("single quote"));
  EXPECT_FALSE(fs::exists(folder.path("y")));
}

TEST(ReportingFileOperationsTest, RecordsTheReasonOfTheFirstFailure) {
  const platform::TemporaryFolder folder;
  platform::FaultInjectingFileSystem calls;
  platform::SystemFileOperations system(calls);
  ReportingFileOperations operations(system);
  EXPECT_EQ(operations.reason(), "");
  EXPECT_TRUE(operations.copyItem("/dev/null", folder.path("b")));
  EXPECT_TRUE(operations.copyItem(folder.path("gone"), folder.path("b")));
  EXPECT_EQ(operations.reason(), "pipes, sockets and devices are not copied");
  ReportingFileOperations others(system);
  EXPECT_FALSE(others.contentsEqual(folder.path("a"), folder.path("b")));
  EXPECT_EQ(others.reason(), "the copy differs from the source");
  EXPECT_FALSE(others.removeItem(folder.path("b")));
}

}  // namespace
}  // namespace wevora::files
