#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Base/Date.h"

namespace wevora {

/// A modification date and a size.
struct FileAttributeSet {
  std::optional<platform::Date> modificationDate;
  std::uint64_t size = 0;  ///< bytes
};

/// One row of the file table: a file or folder of a volume. Strings that were never set are
/// nullopt.
class WVRDrivenFile {
 public:
  using Text = std::optional<std::string>;
  using OptionalDate = std::optional<platform::Date>;

  /// An empty record.
  WVRDrivenFile() = default;

  /// A record for an item on disk, with its name, date and size.
  // -initWithFilePath:parentID:
  static WVRDrivenFile initWithFilePath(std::string filePath, Text parentID);

  /// Stores size and date if one of them differs. Returns whether they did.
  // -updateFileWithAttributes:
  bool updateFileWithAttributes(const FileAttributeSet& attributes);

  /// Compares identifiers only. False if the other has no long name.
  // -isEqual:
  bool isEqual(const WVRDrivenFile& other) const;

  // -description
  std::string description() const;

  const Text& filePath() const { return filePath_; }
  void setFilePath(Text value) { filePath_ = std::move(value); }
  const Text& file_id() const { return file_id_; }
  void setFile_id(Text value) { file_id_ = std::move(value); }
  const Text& parent_id() const { return parent_id_; }
  void setParent_id(Text value) { parent_id_ = std::move(value); }
  const Text& device_id() const { return device_id_; }
  void setDevice_id(Text value) { device_id_ = std::move(value); }
  bool is_folder() const { return is_folder_; }
  void setIs_folder(bool value) { is_folder_ = value; }
  const Text& name_short() const { return name_short_; }
  void setName_short(Text value) { name_short_ = std::move(value); }
  const Text& name_long() const { return name_long_; }
  void setName_long(Text value) { name_long_ = std::move(value); }
  const OptionalDate& synchronized() const { return synchronized_; }
  void setSynchronized(OptionalDate value) { synchronized_ = value; }
  const OptionalDate& scanned() const { return scanned_; }
  void setScanned(OptionalDate value) { scanned_ = value; }
  std::int32_t retry_count() const { return retry_count_; }
  void setRetry_count(std::int32_t value) { retry_count_ = value; }
  const Text& courier_drive_id() const { return courier_drive_id_; }
  void setCourier_drive_id(Text value) { courier_drive_id_ = std::move(value); }
  const Text& md5() const { return md5_; }
  void setMd5(Text value) { md5_ = std::move(value); }
  const OptionalDate& modify_date() const { return modify_date_; }
  void setModify_date(OptionalDate value) { modify_date_ = value; }
  std::uint64_t size() const { return size_; }
  void setSize(std::uint64_t value) { size_ = value; }
  const Text& fcr() const { return fcr_; }
  void setFcr(Text value) { fcr_ = std::move(value); }

 private:
  Text filePath_;
  Text file_id_;
  Text parent_id_;
  Text device_id_;
  bool is_folder_ = false;
  Text name_short_;
  Text name_long_;
  OptionalDate synchronized_;
  OptionalDate scanned_;
  std::int32_t retry_count_ = 0;
  Text courier_drive_id_;
  Text md5_;
  OptionalDate modify_date_;
  std::uint64_t size_ = 0;
  Text fcr_;
};

}  // namespace wevora
