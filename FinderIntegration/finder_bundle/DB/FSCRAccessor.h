#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Base/Mutex.h"
#include "Platform/Database/Database.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRFSCRNode.h"

namespace wevora {

/// The exception "BAD_DB": a database cannot be read. Carries the database's error details.
class BadDatabase : public std::runtime_error {
 public:
  explicit BadDatabase(platform::DatabaseError details)
      : std::runtime_error("BAD_DB"), details_(std::move(details)) {}

  std::string_view name() const noexcept { return "BAD_DB"; }
  std::string_view reason() const noexcept { return ""; }
  const platform::DatabaseError& details() const noexcept { return details_; }

 private:
  platform::DatabaseError details_;
};

/// Reads the folder rules of one volume and makes their folders absolute with its mount point.
/// Thread-safety: any thread. `mutex_` is a leaf lock.
/// Errors: throws BadDatabase for every database error.
class FSCRAccessor {
 public:
  using Nodes = std::vector<WVRFSCRNode>;

  // -mountPoint
  std::string mountPoint() const;
  // -setMountPoint:
  void setMountPoint(std::string mountPoint);

  /// The rules that include a folder.
  // -notExcludedNodes:
  Nodes notExcludedNodes(platform::Database& database) const;
  /// The rules that exclude a folder.
  // -excludedNodes:
  Nodes excludedNodes(platform::Database& database) const;
  // -nodesForQueryResult:
  Nodes nodesForQueryResult(platform::ResultSet& rows) const;

 private:
  Nodes nodesWithExclude(std::string_view value, platform::Database& database) const;

  mutable platform::Mutex mutex_;
  std::string mountPoint_ GUARDED_BY(mutex_);
};

}  // namespace wevora
