#include "Platform/Files/Hidden.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/stat.h>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "Platform/Base/GObjectPtr.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

bool isHiddenForGio(const std::string& path) {
  const GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
  const GObjectPtr<GFileInfo> info(g_file_query_info(
      file.get(), G_FILE_ATTRIBUTE_STANDARD_IS_HIDDEN, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
  return info && g_file_info_get_is_hidden(info.get()) != FALSE;
}

void touch(const std::string& path) {
  std::ofstream(path) << "x";
}

TEST(IsHiddenItem, AgreesWithGio) {
  const TemporaryFolder folder;
  const std::string odd = "od\xFF d ";
  for (const auto& name :
       {std::string("plain"), std::string(".dot"), std::string("listed"), std::string("two words"),
        odd, std::string("listed~"), std::string("carriage"), std::string("LISTED")})
    touch(folder.path(name));
  std::filesystem::create_directory(folder.path("folder"));
  std::filesystem::create_symlink("plain", folder.path("link"));
  std::filesystem::create_symlink("nowhere", folder.path("dangling"));
  touch(folder.path("folder/listed"));
  std::ofstream(folder.path(".hidden"))
      << "listed\n\ntwo words\n"
      << odd << "\ncarriage\r\nmissing\nfolder\ndangling\nlink/\nlast";
  touch(folder.path("last"));
  for (const auto& name : {std::string("plain"),
                           std::string(".dot"),
                           std::string("listed"),
                           std::string("two words"),
                           odd,
                           std::string("listed~"),
                           std::string("carriage"),
                           std::string("LISTED"),
                           std::string("folder"),
                           std::string("folder/"),
                           std::string("folder/listed"),
                           std::string("link"),
                           std::string("dangling"),
                           std::string("missing"),
                           std::string(".missing"),
                           std::string("last"),
                           std::string(".hidden"),
                           std::string("folder/../listed"),
                           std::string("./listed"),
                           std::string("")})
    EXPECT_EQ(isHiddenItem(folder.path(name)), isHiddenForGio(folder.path(name))) << name;
  EXPECT_TRUE(isHiddenItem(folder.path("listed")));
  EXPECT_FALSE(isHiddenItem(folder.path("plain")));
  EXPECT_FALSE(isHiddenItem("/"));
  EXPECT_FALSE(isHiddenItem(""));
}

TEST(IsHiddenItem, SeesAChangedListImmediately) {
  const TemporaryFolder folder;
  touch(folder.path("a"));
  EXPECT_FALSE(isHiddenItem(folder.path("a")));
  std::ofstream(folder.path(".hidden")) << "a\n";
  EXPECT_TRUE(isHiddenItem(folder.path("a")));
  std::filesystem::remove(folder.path(".hidden"));
  EXPECT_FALSE(isHiddenItem(folder.path("a")));
}

TEST(IsHiddenItem, AListThatIsAPipeOrAFolderIsNotReadAndDoesNotBlock) {
  const TemporaryFolder folder;
  touch(folder.path("a"));
  ASSERT_EQ(::mkfifo(folder.path(".hidden").c_str(), 0600), 0);
  EXPECT_FALSE(isHiddenItem(folder.path("a")));
  std::filesystem::remove(folder.path(".hidden"));
  std::filesystem::create_directory(folder.path(".hidden"));
  EXPECT_FALSE(isHiddenItem(folder.path("a")));
}

TEST(HiddenNamesTest, HidesLeadingDotsAndTheNamesOfTheList) {
  const TemporaryFolder folder;
  std::ofstream(folder.path(".hidden")) << "a\nb b\n\n";
  const HiddenNames names(folder.path());
  EXPECT_TRUE(names.hides("a"));
  EXPECT_TRUE(names.hides("b b"));
  EXPECT_TRUE(names.hides(".c"));
  EXPECT_FALSE(names.hides("b"));
  EXPECT_FALSE(names.hides(""));
}

TEST(HiddenNamesTest, AListAboveTheSizeLimitCountsAsEmpty) {
  const TemporaryFolder folder;
  touch(folder.path("a"));
  std::ofstream(folder.path(".hidden")) << "a\n";
  std::filesystem::resize_file(folder.path(".hidden"), HiddenNames::kMaxListBytes);
  EXPECT_TRUE(HiddenNames(folder.path()).hides("a"));
  std::filesystem::resize_file(folder.path(".hidden"), HiddenNames::kMaxListBytes + 1);
  EXPECT_FALSE(HiddenNames(folder.path()).hides("a"));
  EXPECT_FALSE(isHiddenItem(folder.path("a")));
}

}  // namespace
}  // namespace wevora::platform
