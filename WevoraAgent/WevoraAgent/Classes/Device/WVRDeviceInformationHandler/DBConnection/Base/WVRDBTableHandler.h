#pragma once

#include <memory>
#include <utility>

#include "Platform/Database/Database.h"

namespace wevora {

/// The base class of table readers. Shares ownership of the database that they read.
class WVRDBTableHandler {
 public:
  // -initWithDBHandler:
  explicit WVRDBTableHandler(std::shared_ptr<platform::Database> initWithDBHandler)
      : databaseHandler_(std::move(initWithDBHandler)) {}
  virtual ~WVRDBTableHandler() = default;
  WVRDBTableHandler(const WVRDBTableHandler&) = delete;
  WVRDBTableHandler& operator=(const WVRDBTableHandler&) = delete;

  // -databaseHandler
  const std::shared_ptr<platform::Database>& databaseHandler() const { return databaseHandler_; }

 private:
  std::shared_ptr<platform::Database> databaseHandler_;
};

}  // namespace wevora
