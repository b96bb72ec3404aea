#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRDrivenFile.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRFSCRNode.h"

namespace wevora {
namespace {

using platform::Date;

WVRDrivenFile named(const char* id, WVRDrivenFile::Text name) {
  WVRDrivenFile file;
  file.setFile_id(id);
  file.setName_long(std::move(name));
  return file;
}

std::string addressOf(const void* object) {
  std::ostringstream text;
  text << object;
  return text.str();
}

TEST(WVRDrivenFileTest, RecordsWithTheSameIdentifierAreEqualRegardlessOfTheirNames) {
  EXPECT_TRUE(named("1", "a").isEqual(named("1", "b")));
  EXPECT_FALSE(named("1", "a").isEqual(named("2", "a")));
}

TEST(WVRDrivenFileTest, ARecordIsNotEqualToOneWhoseNameIsUnset) {
  EXPECT_FALSE(named("1", "a").isEqual(named("1", std::nullopt)));
  EXPECT_TRUE(named("1", std::nullopt).isEqual(named("1", "a")));
}

TEST(WVRDrivenFileTest, UnchangedAttributesUpdateNothing) {
  WVRDrivenFile file;
  file.setSize(5);
  file.setModify_date(Date{7});
  EXPECT_FALSE(file.updateFileWithAttributes({Date{7}, 5}));
}

TEST(WVRDrivenFileTest, AChangedSizeOrDateStoresBoth) {
  WVRDrivenFile file;
  file.setSize(5);
  file.setModify_date(Date{7});
  EXPECT_TRUE(file.updateFileWithAttributes({Date{8}, 5}));
  EXPECT_EQ(file.modify_date(), Date{8});
  EXPECT_TRUE(file.updateFileWithAttributes({Date{8}, 6}));
  EXPECT_EQ(file.size(), 6U);
}

TEST(WVRDrivenFileTest, ARecordCreatedFromAPathHasTheAttributesOnDisk) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("a.txt")) << "12345";
  const auto file = WVRDrivenFile::initWithFilePath(folder.path("a.txt"), "parent");
  EXPECT_EQ(file.filePath(), folder.path("a.txt"));
  EXPECT_EQ(file.parent_id(), "parent");
  EXPECT_EQ(file.name_long(), "a.txt");
  EXPECT_EQ(file.name_short(), "a.txt");
  EXPECT_EQ(file.size(), 5U);
  EXPECT_TRUE(file.modify_date());
  EXPECT_EQ(file.file_id(), std::nullopt);
  EXPECT_EQ(file.device_id(), "");
  EXPECT_EQ(file.courier_drive_id(), "");
  EXPECT_EQ(file.md5(), "");
  EXPECT_EQ(file.fcr(), "");
  EXPECT_FALSE(file.is_folder());
  EXPECT_EQ(file.synchronized(), std::nullopt);
  EXPECT_EQ(file.scanned(), std::nullopt);
  EXPECT_EQ(file.retry_count(), 0);
}

TEST(WVRDrivenFileTest, DescriptionPrintsTheSizeThroughThirtyTwoBits) {
  WVRDrivenFile file = named("id", "long");
  file.setName_short("short");
  file.setIs_folder(true);
  file.setSynchronized(Date{0});
  file.setSize((1ULL << 32U) + 7);
  EXPECT_EQ(file.description(),
            "WVRDrivenFile " + addressOf(&file) +
                ",            name: long,             sh_name: short,             file_id: id,"
                "             parent_id: (null),             is_folder: true,"
                "             synchronized: 1970-01-01 00:00:00.0000000,"
                "             scanned: (null),             size: 7");
}

class DerivedNode : public WVRFSCRNode {
 protected:
  bool hasKindOf(const WVRFSCRNode& other) const override {
    return dynamic_cast<const DerivedNode*>(&other) != nullptr;
  }
};

TEST(WVRFSCRNodeTest, RulesAreEqualByIdentifier) {
  WVRFSCRNode one;
  WVRFSCRNode two;
  one.setFscr_id("1");
  two.setFscr_id("1");
  two.setRoot_folder("/elsewhere");
  EXPECT_TRUE(one.isEqual(two));
  two.setFscr_id("2");
  EXPECT_FALSE(one.isEqual(two));
}

TEST(WVRFSCRNodeTest, ARuleOfADerivedClassIsEqualToItsBaseButNotViceVersa) {
  WVRFSCRNode base;
  DerivedNode derived;
  base.setFscr_id("1");
  derived.setFscr_id("1");
  EXPECT_TRUE(base.isEqual(derived));
  EXPECT_FALSE(derived.isEqual(base));
}

TEST(WVRFSCRNodeTest, ANewRuleIsEmpty) {
  const WVRFSCRNode node;
  EXPECT_EQ(node.fscr_id(), std::nullopt);
  EXPECT_EQ(node.root_folder(), std::nullopt);
  EXPECT_FALSE(node.is_fcr() || node.is_system() || node.hidden() || node.system() ||
               node.exclude());
  EXPECT_EQ(node.min_size() + node.max_size(), 0U);
  EXPECT_EQ(node.order(), 0);
  EXPECT_EQ(node.description(), "WVRFSCRNode " + addressOf(&node) + ", folder path: (null)");
}

}  // namespace
}  // namespace wevora
