#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/PropertyLists/Value.h"

namespace wevora {

class WVFinderTools;
class WVIconProvider;

/// What the agent's news is turned into: the icon provider, its pool of databases, and the tools
/// that redraw.
/// Threads: the main thread. Owns: nothing. Errors: none.
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

/// The engine of the bundle.
std::unique_ptr<StatusEngine> statusEngineOf(WVIconProvider& provider, WVFinderTools& tools);

/// What reads the settings of the logged-in user.
/// Threads: the main thread. Owns: as its kind. Errors: none where nothing can be read.
class SettingsReader {
 public:
  virtual ~SettingsReader() = default;
  virtual std::optional<platform::Value> readKey(const std::string& key,
                                                 const std::optional<std::string>& forUser) = 0;
};

}  // namespace wevora
