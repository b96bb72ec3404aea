#include "Platform/Graphics/ImageFiles.h"

#include <filesystem>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/PictureFiles/PictureFiles.h"

namespace wevora::platform {
namespace {

using testing_host::IcnsElement;
using testing_host::icnsFile;
using testing_host::pngElement;
using testing_host::twoHalves;
using testing_host::writeFile;
using testing_host::writeTiff;

constexpr std::uint32_t kUpper = 0xFFFF0000;
constexpr std::uint32_t kLower = 0x80000080;  // half transparent

class ImageFilesTest : public testing::Test {
 protected:
  std::vector<ImageRep> read(std::string_view bytes) {
    writeFile(file, bytes);
    return imageRepsWithContentsOfFile(file);
  }
  TemporaryFolder folder;
  std::string file = folder.path("image");
};

TEST_F(ImageFilesTest, AnIconFamilyHasARepresentationForEachImage) {
  const auto reps = read(icnsFile({pngElement("icp4", *twoHalves(16, 16, kUpper, kLower)),
                                   pngElement("ic07", *twoHalves(128, 128, kUpper, kLower))}));
  ASSERT_EQ(reps.size(), 2U);
  EXPECT_EQ(reps[0].bitmap->width(), 16U);
  EXPECT_EQ(reps[1].bitmap->width(), 128U);
  EXPECT_EQ(reps[1].size, (Size{128, 128}));
  EXPECT_EQ(reps[1].bitmap->pixels().front(), kUpper);
  EXPECT_EQ(reps[1].bitmap->pixels().back(), kLower);
}

TEST_F(ImageFilesTest, AnImageForTwoPixelsPerPointHasHalfAsManyPoints) {
  const auto reps = read(icnsFile({pngElement("ic11", *twoHalves(32, 32, kUpper, kLower))}));
  ASSERT_EQ(reps.size(), 1U);
  EXPECT_EQ(reps[0].size, (Size{16, 16}));
}

TEST_F(ImageFilesTest, ARunLengthCodedImageIsReadWithItsMask) {
  const auto reps = read(icnsFile(testing_host::smallRunLengthElements(0xFF204060)));
  ASSERT_EQ(reps.size(), 1U);
  EXPECT_EQ(reps[0].bitmap->width(), 16U);
  EXPECT_EQ(reps[0].bitmap->pixels()[100], 0xFF204060U);
}

TEST_F(ImageFilesTest, ElementsThatAreNotImagesAreSkipped) {
  const auto reps = read(icnsFile({{"TOC ", "12345678"},
                                   {"icnV", "1234"},
                                   pngElement("icp4", *twoHalves(16, 16, kUpper, kLower))}));
  EXPECT_EQ(reps.size(), 1U);
}

TEST_F(ImageFilesTest, AnImageWhoseSizeDoesNotMatchItsTypeInvalidatesTheFamily) {
  EXPECT_TRUE(read(icnsFile({pngElement("icp4", *twoHalves(32, 32, kUpper, kLower))})).empty());
}

TEST_F(ImageFilesTest, ATruncatedFamilyHasNoRepresentations) {
  auto elements = testing_host::smallRunLengthElements(0xFF204060);
  elements.push_back(pngElement("icp4", *twoHalves(16, 16, kUpper, kLower)));
  const std::string whole = icnsFile(elements);
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_TRUE(read(whole.substr(0, size)).empty()) << size;
  EXPECT_EQ(read(whole).size(), 2U);
}

TEST_F(ImageFilesTest, AFamilyWithACorruptByteIsReadSafely) {
  auto elements = testing_host::smallRunLengthElements(0xFF204060);
  elements.push_back(pngElement("icp4", *twoHalves(16, 16, kUpper, kLower)));
  const std::string whole = icnsFile(elements);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    std::string changed = whole;
    changed[at] = static_cast<char>(changed[at] ^ 0xFF);
    for (const auto& rep : read(changed)) EXPECT_TRUE(rep.bitmap);
  }
}

TEST_F(ImageFilesTest, ATiffHasARepresentationForEachPageSizedByItsResolution) {
  writeTiff(file,
            {{twoHalves(32, 32, kUpper, kLower), 72}, {twoHalves(64, 64, kUpper, kLower), 144}});
  const auto reps = imageRepsWithContentsOfFile(file);
  ASSERT_EQ(reps.size(), 2U);
  EXPECT_EQ(reps[0].size, (Size{32, 32}));
  EXPECT_EQ(reps[1].bitmap->width(), 64U);
  EXPECT_EQ(reps[1].size, (Size{32, 32}));
  EXPECT_EQ(reps[1].bitmap->pixels().front(), kUpper) << "the top row comes first";
  EXPECT_EQ(reps[1].bitmap->pixels().back(), kLower);
}

TEST_F(ImageFilesTest, ATruncatedTiffHasNoRepresentations) {
  writeTiff(file, {{twoHalves(32, 32, kUpper, kLower), 72}});
  const auto size = std::filesystem::file_size(file);
  for (const std::uintmax_t cut : {size - 1, size / 2, std::uintmax_t{9}, std::uintmax_t{3}}) {
    std::filesystem::resize_file(file, cut);
    EXPECT_TRUE(imageRepsWithContentsOfFile(file).empty()) << cut;
  }
}

TEST_F(ImageFilesTest, AFileOfAnotherFormatHasNoRepresentations) {
  EXPECT_TRUE(read("").empty());
  EXPECT_TRUE(read("hello, this is text").empty());
  EXPECT_TRUE(imageRepsWithContentsOfFile(folder.path("absent")).empty());
  EXPECT_TRUE(imageRepsWithContentsOfFile(folder.path()).empty());
  EXPECT_EQ(imageWithContentsOfFile(folder.path("absent")), nullptr);
}

TEST_F(ImageFilesTest, APipeWithoutAWriterDoesNotBlock) {
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_TRUE(imageRepsWithContentsOfFile(file).empty());
}

TEST_F(ImageFilesTest, AnImageHasTheSizeOfItsLargestRepresentation) {
  writeFile(file, icnsFile({pngElement("icp4", *twoHalves(16, 16, kUpper, kLower)),
                            pngElement("icp5", *twoHalves(32, 32, kUpper, kLower))}));
  const auto image = imageWithContentsOfFile(file);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->size(), (Size{32, 32}));
  EXPECT_FALSE(image->isFlipped());
}

}  // namespace
}  // namespace wevora::platform
