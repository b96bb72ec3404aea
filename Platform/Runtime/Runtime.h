#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <variant>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

class Class;
class Object;
class Runtime;

/// A reference to an object of the runtime. Every message may be sent to a null Id.
using Id = std::shared_ptr<Object>;

template <class Result, class... Arguments>
Result send(const Id& receiver, std::string_view selector, Arguments... arguments);

/// The exception of host objects, of unrecognized selectors and of calls with wrong types.
class HostException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The type-erased body of a method: a function of (receiver, arguments...). Copies share the body.
/// Errors: `invoke` throws HostException if the types differ from those of the function.
class Implementation {
 public:
  Implementation() = default;

  /// `Implementation::of<void(bool)>([](const Id& self, bool needed) { ... })`
  template <class Signature, class Function>
  static Implementation of(Function function) {
    Implementation made;
    made.body_ = Typed<Signature>::wrap(std::move(function));
    return made;
  }

  explicit operator bool() const noexcept { return body_ != nullptr; }
  friend bool operator==(const Implementation& a, const Implementation& b) {
    return a.body_ == b.body_;
  }

  /// Calls the function directly, without method look-up.
  template <class Result, class... Arguments>
  Result invoke(const Id& self, Arguments... arguments) const {
    using Wanted = typename Typed<Result(Arguments...)>::Body;
    const auto* body = dynamic_cast<const Wanted*>(body_.get());
    if (body == nullptr) throw HostException("method called with wrong argument or result types");
    return body->function(self, std::forward<Arguments>(arguments)...);
  }

 private:
  struct AnyBody {
    virtual ~AnyBody() = default;
  };
  template <class Signature>
  struct Typed;

  std::shared_ptr<const AnyBody> body_;
};

template <class Result, class... Arguments>
struct Implementation::Typed<Result(Arguments...)> {
  struct Body : AnyBody {
    explicit Body(std::function<Result(const Id&, Arguments...)> f) : function(std::move(f)) {}
    std::function<Result(const Id&, Arguments...)> function;
  };
  template <class Function>
  static std::shared_ptr<const AnyBody> wrap(Function function) {
    return std::make_shared<Body>(std::move(function));
  }
};

/// A method: its body and its type encoding ("v@:B").
struct Method {
  Implementation implementation;
  std::string typeEncoding;
};
/// A snapshot of a method from a look-up; null if the method does not exist.
using MethodRef = std::shared_ptr<const Method>;

/// A message for which its receiver has no method. The receiver may forward it to another object.
/// Errors: those of the target's method.
class Invocation {
 public:
  explicit Invocation(std::string_view selector) : selector_(selector) {}
  virtual ~Invocation() = default;
  Invocation(const Invocation&) = delete;
  Invocation& operator=(const Invocation&) = delete;

  std::string_view selector() const noexcept { return selector_; }
  /// Sends the message to another object; its result becomes the result of this message.
  virtual void invokeWithTarget(const Id& target) = 0;

 private:
  const std::string_view selector_;
};

/// An object that can receive messages.
/// Thread-safety: instance variables may be used from any thread; methods as their implementations.
class Object {
 public:
  explicit Object(Class& isa) : isa_(isa) {}
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  Class& isa() const noexcept { return isa_; }
  bool isKindOf(const Class* wanted) const;
  virtual bool respondsToSelector(std::string_view selector) const;
  /// The type encoding of the method; nullopt if the method does not exist.
  virtual std::optional<std::string> methodSignatureForSelector(std::string_view selector) const;
  /// Called for a message without a method. Throws HostException unless overridden.
  virtual void forwardInvocation(Invocation& invocation);

  /// Instance variables by name. An unset variable, or one of another type, reads as nullopt.
  void setInstanceVariable(std::string_view name, std::any value);
  template <class T>
  std::optional<T> instanceVariable(std::string_view name) const {
    const std::any value = instanceVariableValue(name);
    const auto* typed = std::any_cast<T>(&value);
    return typed == nullptr ? std::nullopt : std::optional<T>(*typed);
  }

 protected:
  /// Looks up the method for a selector, including superclasses.
  virtual MethodRef methodFor(std::string_view selector) const;

 private:
  template <class Result, class... Arguments>
  friend Result send(const Id&, std::string_view, Arguments...);
  std::any instanceVariableValue(std::string_view name) const;

  Class& isa_;
  mutable Mutex mutex_;
  std::map<std::string, std::any, std::less<>> variables_ GUARDED_BY(mutex_);
};

/// A class: a name, a superclass, instance methods and class methods. A class is itself an object;
/// messages sent to it call its class methods.
/// Thread-safety: any thread. `tables_` is a leaf lock; it is not held while a method runs.
class Class : public Object {
 public:
  Class(std::string_view name, Class* superclass);

  const std::string& name() const noexcept { return name_; }
  Class* superclass() const noexcept { return superclass_; }
  bool isSubclassOf(const Class* wanted) const;

  /// Returns false and changes nothing if this class itself already has a method of that name.
  bool addMethod(std::string_view selector, Implementation implementation,
                 std::string_view typeEncoding);
  bool addClassMethod(std::string_view selector, Implementation implementation,
                      std::string_view typeEncoding);
  /// Exchanges the bodies of two own or inherited methods, each in the class that defines it. The
  /// type encodings stay. Returns false if one of them does not exist.
  bool exchangeImplementations(std::string_view first, std::string_view second);

  /// Look-up including superclasses.
  MethodRef instanceMethod(std::string_view selector) const;
  MethodRef classMethod(std::string_view selector) const;

 protected:
  MethodRef methodFor(std::string_view selector) const override { return classMethod(selector); }

 private:
  // Methods are immutable and shared: a look-up copies only a pointer, and an exchange replaces the
  // pointer.
  using Methods = std::map<std::string, MethodRef, std::less<>>;
  static bool add(Methods& methods, std::string_view selector, Implementation implementation,
                  std::string_view typeEncoding);
  static MethodRef found(const Methods& methods, std::string_view selector);
  MethodRef ownInstanceMethod(std::string_view selector) const;
  MethodRef ownClassMethod(std::string_view selector) const;
  void setImplementation(std::string_view selector, const Implementation& implementation);
  Class* ownerOf(std::string_view selector);

  const std::string name_;
  Class* const superclass_;
  mutable Mutex tables_;
  Methods methods_ GUARDED_BY(tables_);
  Methods classMethods_ GUARDED_BY(tables_);
};

/// The registry of a host's classes, by name.
/// Thread-safety: any thread.
class Runtime {
 public:
  Runtime() = default;
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  /// The runtime of this process.
  static Runtime& shared();

  /// Null if the name is taken.
  std::shared_ptr<Class> registerClass(std::string_view name, Class* superclass = nullptr);
  /// Null if there is no such class.
  std::shared_ptr<Class> classNamed(std::string_view name) const;

 private:
  mutable Mutex mutex_;
  std::map<std::string, std::shared_ptr<Class>, std::less<>> classes_ GUARDED_BY(mutex_);
};

/// An Invocation with the argument and result types of its message. The result is a default value
/// until a target has returned one.
template <class Result, class... Arguments>
class TypedInvocation : public Invocation {
 public:
  TypedInvocation(std::string_view selector, Arguments... arguments)
      : Invocation(selector), arguments_(std::forward<Arguments>(arguments)...) {}

  void invokeWithTarget(const Id& target) override {
    std::apply(
        [&](Arguments... arguments) {
          if constexpr (std::is_void_v<Result>)
            send<void, Arguments...>(target, selector(), std::forward<Arguments>(arguments)...);
          else
            result_ = send<Result, Arguments...>(target, selector(),
                                                 std::forward<Arguments>(arguments)...);
        },
        arguments_);
  }
  Result result() {
    if constexpr (!std::is_void_v<Result>) return std::move(result_);
  }

 private:
  std::tuple<Arguments...> arguments_;
  std::conditional_t<std::is_void_v<Result>, std::monostate, Result> result_{};
};

/// Sends a message. A null receiver returns a default value of the result type. A receiver without
/// a method for the selector forwards the message or throws HostException. A method with other
/// types throws HostException. No lock is held while the method runs.
template <class Result, class... Arguments>
Result send(const Id& receiver, std::string_view selector, Arguments... arguments) {
  if (!receiver) return Result();
  if (const auto method = receiver->methodFor(selector))
    return method->implementation.template invoke<Result, Arguments...>(
        receiver, std::forward<Arguments>(arguments)...);
  TypedInvocation<Result, Arguments...> invocation(selector, std::forward<Arguments>(arguments)...);
  receiver->forwardInvocation(invocation);
  return invocation.result();
}

}  // namespace wevora::platform
