#include "Hosts/Nautilus/Host.h"

#include <gtest/gtest.h>

namespace wevora::nautilus {
namespace {

TEST(HostTest, AHostRegistersAllItsClasses) {
  platform::Runtime runtime;
  ASSERT_TRUE(Host::canRegisterIn(runtime));
  const Host host(runtime);
  for (const char* name : Host::kClasses) EXPECT_TRUE(runtime.classNamed(name)) << name;
}

TEST(HostTest, AHostIsNotRegisteredWhereOneOfItsNamesIsTaken) {
  for (const char* taken : Host::kClasses) {
    platform::Runtime runtime;
    runtime.registerClass(taken);
    EXPECT_FALSE(Host::canRegisterIn(runtime)) << taken;
    EXPECT_THROW(Host{runtime}, platform::HostException) << taken;
  }
}

}  // namespace
}  // namespace wevora::nautilus
