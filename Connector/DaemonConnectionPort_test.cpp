#include "Connector/DaemonConnectionPort.h"

#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "Connector/DaemonConnectionNames.h"

namespace wevora {
namespace {

/// A fake with a set of existing services. Records the names that were looked up.
struct NamedServices : platform::DistributedObjects {
  std::set<std::string> existing;
  std::vector<std::string> lookups;

  std::shared_ptr<platform::SendPort> portForName(const std::string& name) override {
    lookups.push_back(name);
    return existing.contains(name) ? std::make_shared<platform::SendPort>() : nullptr;
  }
  std::shared_ptr<platform::Connection> connectionWithSendPort(
      const std::shared_ptr<platform::SendPort>& /*sendPort*/) override {
    return nullptr;
  }
};

TEST(DaemonConnectionNamesTest, ThereAreThirtyInAscendingOrderAndNoNameWithoutAUser) {
  const auto names = daemonConnectionNames("alice");
  ASSERT_EQ(names.size(), 30U);
  EXPECT_EQ(names.front(), "com.Wevora.client.connection.alice.0");
  EXPECT_EQ(names[9], "com.Wevora.client.connection.alice.9");
  EXPECT_EQ(names.back(), "com.Wevora.client.connection.alice.29");
  EXPECT_TRUE(daemonConnectionNames(std::nullopt).empty());
}

TEST(DaemonConnectionPortTest, TheFirstSeedWithAPortWinsAndNoLaterSeedIsTried) {
  NamedServices services;
  services.existing = {"com.Wevora.client.connection.alice.3",
                       "com.Wevora.client.connection.alice.5"};
  EXPECT_TRUE(portOfDaemonConnection(services, "alice"));
  EXPECT_EQ(services.lookups.size(), 4U);
  EXPECT_EQ(services.lookups.back(), "com.Wevora.client.connection.alice.3");
}

TEST(DaemonConnectionPortTest, AServiceUnderSeedThirtyIsNeverFound) {
  NamedServices services;
  services.existing = {"com.Wevora.client.connection.alice.30"};
  EXPECT_FALSE(portOfDaemonConnection(services, "alice"));
  EXPECT_EQ(services.lookups, daemonConnectionNames("alice"));
}

TEST(DaemonConnectionPortTest, WithoutAUserNothingIsLookedUp) {
  NamedServices services;
  EXPECT_FALSE(portOfDaemonConnection(services, std::nullopt));
  EXPECT_TRUE(services.lookups.empty());
}

}  // namespace
}  // namespace wevora
