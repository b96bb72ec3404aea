#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRFSCRNode.h"

#include <sstream>

namespace wevora {

bool WVRFSCRNode::hasKindOf(const WVRFSCRNode&) const {
  return true;
}

bool WVRFSCRNode::isEqual(const WVRFSCRNode& other) const {
  return hasKindOf(other) && other.fscr_id_ && fscr_id_ && *other.fscr_id_ == *fscr_id_;
}

std::string WVRFSCRNode::description() const {
  std::ostringstream text;
  text << "WVRFSCRNode " << static_cast<const void*>(this)
       << ", folder path: " << root_folder_.value_or("(null)");
  return text.str();
}

}  // namespace wevora
