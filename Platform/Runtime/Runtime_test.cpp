#include "Platform/Runtime/Runtime.h"

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

class RuntimeTest : public testing::Test {
 protected:
  Id make(const std::shared_ptr<Class>& isa) { return std::make_shared<Object>(*isa); }

  Runtime runtime;
  std::shared_ptr<Class> base = runtime.registerClass("Base");
  std::shared_ptr<Class> derived = runtime.registerClass("Derived", base.get());
};

TEST_F(RuntimeTest, ClassesAreFoundByNameAndNamesAreUnique) {
  EXPECT_EQ(runtime.classNamed("Base"), base);
  EXPECT_EQ(runtime.classNamed("Absent"), nullptr);
  EXPECT_EQ(runtime.registerClass("Base"), nullptr);
}

TEST_F(RuntimeTest, MessagesReachInheritedMethodsWithTheirOwnTypes) {
  base->addMethod(
      "add:to:", Implementation::of<int(int, int)>([](const Id&, int a, int b) { return a + b; }),
      "i@:ii");
  EXPECT_EQ(send<int>(make(derived), "add:to:", 2, 3), 5);
}

TEST_F(RuntimeTest, ArgumentsByReferenceStayReferences) {
  base->addMethod("fill:", Implementation::of<void(std::string*)>([](const Id&, std::string* out) {
                    *out = "filled";
                  }),
                  "v@:^@");
  std::string text;
  send<void>(make(base), "fill:", &text);
  EXPECT_EQ(text, "filled");
}

TEST_F(RuntimeTest, SendingToNullReturnsADefaultValue) {
  EXPECT_EQ(send<int>(nullptr, "count"), 0);
  EXPECT_EQ(send<Id>(nullptr, "child"), nullptr);
  send<void>(nullptr, "setNeedsDisplay:", true);
}

TEST_F(RuntimeTest, SendingAnUnknownSelectorThrows) {
  EXPECT_THROW(send<void>(make(base), "unknown"), HostException);
}

TEST_F(RuntimeTest, CallingAMethodWithOtherTypesThrows) {
  base->addMethod("flag:", Implementation::of<void(bool)>([](const Id&, bool) {}), "v@:B");
  EXPECT_THROW(send<void>(make(base), "flag:", 1), HostException);
  EXPECT_THROW(send<int>(make(base), "flag:", true), HostException);
}

TEST_F(RuntimeTest, AddingAMethodFailsOnlyIfTheClassItselfHasTheName) {
  const auto one = Implementation::of<int()>([](const Id&) { return 1; });
  const auto two = Implementation::of<int()>([](const Id&) { return 2; });
  EXPECT_TRUE(base->addMethod("n", one, "i@:"));
  EXPECT_FALSE(base->addMethod("n", two, "i@:"));
  EXPECT_TRUE(derived->addMethod("n", two, "i@:"));
  EXPECT_EQ(send<int>(make(base), "n"), 1);
  EXPECT_EQ(send<int>(make(derived), "n"), 2);
  EXPECT_EQ(derived->instanceMethod("n")->typeEncoding, "i@:");
}

TEST_F(RuntimeTest, ExchangingImplementationsSwapsTheTwoBodies) {
  base->addMethod("one", Implementation::of<int()>([](const Id&) { return 1; }), "i@:");
  base->addMethod("two", Implementation::of<int()>([](const Id&) { return 2; }), "i@:");
  EXPECT_TRUE(base->exchangeImplementations("one", "two"));
  EXPECT_EQ(send<int>(make(base), "one"), 2);
  EXPECT_EQ(send<int>(make(base), "two"), 1);
  EXPECT_FALSE(base->exchangeImplementations("one", "absent"));
}

TEST_F(RuntimeTest, AnImplementationCanBeInvokedDirectly) {
  base->addMethod("n", Implementation::of<int()>([](const Id&) { return 7; }), "i@:");
  const auto method = derived->instanceMethod("n");
  ASSERT_TRUE(method);
  EXPECT_EQ(method->implementation.invoke<int>(make(base)), 7);
  EXPECT_EQ(method->implementation, base->instanceMethod("n")->implementation);
}

TEST_F(RuntimeTest, ALookUpDoesNotCopyTheMethod) {
  base->addMethod("n", Implementation::of<int()>([](const Id&) { return 7; }), "i@:");
  base->addClassMethod("m", Implementation::of<int()>([](const Id&) { return 7; }), "i@:");
  EXPECT_EQ(base->instanceMethod("n"), derived->instanceMethod("n"));
  EXPECT_EQ(base->classMethod("m"), derived->classMethod("m"));
}

TEST_F(RuntimeTest, AnExchangeDoesNotChangeAMethodThatWasLookedUpBefore) {
  base->addMethod("one", Implementation::of<int()>([](const Id&) { return 1; }), "i@:");
  base->addMethod("two", Implementation::of<int()>([](const Id&) { return 2; }), "l@:");
  const auto before = base->instanceMethod("one");
  base->exchangeImplementations("one", "two");
  EXPECT_EQ(before->implementation.invoke<int>(make(base)), 1);
  EXPECT_EQ(base->instanceMethod("one")->implementation.invoke<int>(make(base)), 2);
  EXPECT_EQ(base->instanceMethod("one")->typeEncoding, "i@:") << "the encodings stay";
}

TEST_F(RuntimeTest, AClassHasItsOwnClassMethodsAndThoseOfItsSuperclass) {
  base->addClassMethod("shared", Implementation::of<int()>([](const Id&) { return 3; }), "i@:");
  EXPECT_EQ(send<int>(derived, "shared"), 3);
  EXPECT_TRUE(derived->respondsToSelector("shared"));
  EXPECT_FALSE(make(derived)->respondsToSelector("shared"));
}

/// Forwards every message for which it has no method to a target, if that is not null.
class Forwarder : public Object {
 public:
  Forwarder(Class& isa, Id target) : Object(isa), target_(std::move(target)) {}
  void forwardInvocation(Invocation& invocation) override {
    if (target_) invocation.invokeWithTarget(target_);
  }

 private:
  Id target_;
};

TEST_F(RuntimeTest, AForwardedMessageReturnsTheResultOfItsTarget) {
  base->addMethod("join:and:",
                  Implementation::of<std::string(std::string, int)>(
                      [](const Id&, const std::string& a, int b) { return a + std::to_string(b); }),
                  "@@:@i");
  int called = 0;
  base->addMethod("call", Implementation::of<void()>([&](const Id&) { ++called; }), "v@:");
  const auto other = runtime.registerClass("Other");
  const Id forwarder = std::make_shared<Forwarder>(*other, make(base));
  EXPECT_EQ(send<std::string>(forwarder, "join:and:", std::string("a"), 1), "a1");
  send<void>(forwarder, "call");
  EXPECT_EQ(called, 1);
  EXPECT_THROW(send<void>(forwarder, "unknown"), HostException);
}

TEST_F(RuntimeTest, AMessageWithoutATargetReturnsZero) {
  const Id forwarder = std::make_shared<Forwarder>(*base, nullptr);
  EXPECT_EQ(send<double>(forwarder, "height"), 0.0);
  send<void>(forwarder, "call", 1);
}

TEST_F(RuntimeTest, TheSignatureOfAMethodIsItsTypeEncoding) {
  base->addMethod("n", Implementation::of<int()>([](const Id&) { return 1; }), "i@:");
  EXPECT_EQ(make(derived)->methodSignatureForSelector("n"), "i@:");
  EXPECT_EQ(make(derived)->methodSignatureForSelector("m"), std::nullopt);
}

TEST_F(RuntimeTest, KindOfIncludesOnlySuperclasses) {
  EXPECT_TRUE(make(derived)->isKindOf(base.get()));
  EXPECT_FALSE(make(base)->isKindOf(derived.get()));
  EXPECT_FALSE(make(base)->isKindOf(nullptr));
}

TEST_F(RuntimeTest, AReplacedInstanceVariableMayUseItsObjectWhileItIsDestroyed) {
  const Id object = make(base);
  std::optional<int> seen;
  auto reader = std::shared_ptr<void>(
      nullptr, [&](void*) { seen = object->instanceVariable<int>("_count"); });
  object->setInstanceVariable("_count", 7);
  object->setInstanceVariable("_node", reader);
  reader.reset();
  object->setInstanceVariable("_node", 0);
  EXPECT_EQ(seen, 7);
}

TEST_F(RuntimeTest, InstanceVariablesAreReadByNameAndType) {
  const Id object = make(base);
  object->setInstanceVariable("_node", 42);
  EXPECT_EQ(object->instanceVariable<int>("_node"), 42);
  EXPECT_EQ(object->instanceVariable<double>("_node"), std::nullopt);
  EXPECT_EQ(object->instanceVariable<int>("_layer"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
