#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/PropertyLists/Value.h"

namespace wevora {

class WVFinderTools;
class WVIconProvider;

/// The actions that agent notifications lead to: on the icon provider, its database pool and the
/// redraw tools. The main thread only.
class StatusEngine {
 public:
  using Text = std::optional<std::string>;

  virtual ~StatusEngine() = default;
  virtual void setTurnedOn(bool turnedOn) = 0;
  virtual void reinit() = 0;
  virtual void setAccountIdOfPool(const Text& accountId) = 0;
  virtual void reinitPool() = 0;
  virtual void updateWindows() = 0;
  virtual void updateDesktopForce(bool force) = 0;
  virtual void updateNodesWithPath(std::vector<std::string> paths) = 0;
};

/// The engine of the bundle. Provider and tools must outlive it.
std::unique_ptr<StatusEngine> statusEngineOf(WVIconProvider& provider, WVFinderTools& tools);

/// Reads the settings of the logged-in user.
/// Errors: a value that cannot be read is nullopt.
class SettingsReader {
 public:
  virtual ~SettingsReader() = default;
  virtual std::optional<platform::Value> readKey(const std::string& key,
                                                 const std::optional<std::string>& forUser) = 0;
};

}  // namespace wevora
