#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRDrivenFile.h"

#include <sstream>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Strings.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora {
namespace {

std::string described(const WVRDrivenFile::Text& text) {
  return text.value_or("(null)");
}

std::string described(const WVRDrivenFile::OptionalDate& date) {
  return date ? dbFormat(*date).value_or("(null)") : "(null)";
}

}  // namespace

WVRDrivenFile WVRDrivenFile::initWithFilePath(std::string filePath, Text parentID) {
  WVRDrivenFile file;
  file.name_long_ = std::string(platform::lastPathComponent(filePath));
  file.name_short_ = WVRFileTools::shortFileNameForAbsolutePath(filePath);
  file.modify_date_ = WVRFileTools::fileLastModificationDate(filePath);
  file.size_ = WVRFileTools::fileSize(filePath);
  file.parent_id_ = std::move(parentID);
  file.device_id_ = "";
  file.courier_drive_id_ = "";
  file.md5_ = "";
  file.fcr_ = "";
  file.filePath_ = std::move(filePath);
  return file;
}

bool WVRDrivenFile::updateFileWithAttributes(const FileAttributeSet& attributes) {
  if (attributes.size == size_ && attributes.modificationDate == modify_date_) return false;
  size_ = attributes.size;
  modify_date_ = attributes.modificationDate;
  return true;
}

bool WVRDrivenFile::isEqual(const WVRDrivenFile& other) const {
  // An unset identifier is equal to nothing, not even to another unset one.
  if (!other.file_id_ || !file_id_ || *other.file_id_ != *file_id_) return false;
  // Of the names, only the presence of the other's counts.
  return other.name_long_.has_value();
}

std::string WVRDrivenFile::description() const {
  constexpr const char* kGap = ",             ";
  std::ostringstream text;
  text << "WVRDrivenFile " << static_cast<const void*>(this)
       << ",            name: " << described(name_long_) << kGap
       << "sh_name: " << described(name_short_) << kGap << "file_id: " << described(file_id_)
       << kGap << "parent_id: " << described(parent_id_) << kGap
       << "is_folder: " << (is_folder_ ? "true" : "false") << kGap
       << "synchronized: " << described(synchronized_) << kGap << "scanned: " << described(scanned_)
       << kGap << "size: "
       << static_cast<std::int32_t>(size_);  // truncated to 32 bits, as in the agent's output
  return text.str();
}

}  // namespace wevora
