#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Base/WVRDBTableHandler.h"

#include <gtest/gtest.h>

#include "Platform/Database/SqliteDatabases.h"

namespace wevora {
namespace {

TEST(WVRDBTableHandlerTest, KeepsItsDatabaseUntilItIsDestroyed) {
  const platform::SystemClock clock;
  platform::SqliteDatabases databases(clock);
  auto database = databases.databaseWithPath("/missing");
  const std::weak_ptr<platform::Database> watched = database;
  {
    const WVRDBTableHandler handler(std::move(database));
    EXPECT_EQ(handler.databaseHandler(), watched.lock());
  }
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace wevora
