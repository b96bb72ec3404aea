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

/// A reference to an object of the runtime; a null one is "nothing", to which anything may be sent.
using Id = std::shared_ptr<Object>;

template <class Result, class... Arguments>
Result send(const Id& receiver, std::string_view selector, Arguments... arguments);

/// What a host's object raises, and what a message that nobody understands raises.
/// Threads: any. Owns: its text. Errors: is one.
class HostException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The body of a method, its C++ types erased: a function of (receiver, arguments...).
/// Threads: a value; calling it is as safe as the function. Owns: the function.
/// Errors: invoking with other types than it was made with raises HostException.
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

  /// Calls the function directly, with no look-up.
  template <class Result, class... Arguments>
  Result invoke(const Id& self, Arguments... arguments) const {
    using Wanted = typename Typed<Result(Arguments...)>::Body;
    const auto* body = dynamic_cast<const Wanted*>(body_.get());
    if (body == nullptr) throw HostException("method called with other types than its own");
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

/// A method: its body, and the text that encodes its types ("v@:B").
/// Threads: a value. Owns: both. Errors: none.
struct Method {
  Implementation implementation;
  std::string typeEncoding;
};
/// A method that was looked up, as it was then; null where there is none.
using MethodRef = std::shared_ptr<const Method>;

/// A message that its receiver has no method for: what it may hand to another object.
/// Threads: one. Owns: the arguments and the answer, which is a default value until a target gave
/// one. Errors: those of the target's method.
class Invocation {
 public:
  explicit Invocation(std::string_view selector) : selector_(selector) {}
  virtual ~Invocation() = default;
  Invocation(const Invocation&) = delete;
  Invocation& operator=(const Invocation&) = delete;

  std::string_view selector() const noexcept { return selector_; }
  /// Sends the message to another object; its answer becomes this one's.
  virtual void invokeWithTarget(const Id& target) = 0;

 private:
  const std::string_view selector_;
};

/// Something that can be sent messages.
/// Threads: as its methods. Owns: its instance variables.
/// Errors: none of its own.
class Object {
 public:
  explicit Object(Class& isa) : isa_(isa) {}
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  Class& isa() const noexcept { return isa_; }
  bool isKindOf(const Class* wanted) const;
  virtual bool respondsToSelector(std::string_view selector) const;
  /// The text that encodes the types of the method; none where there is none.
  virtual std::optional<std::string> methodSignatureForSelector(std::string_view selector) const;
  /// What becomes of a message that the object has no method for: it raises HostException.
  virtual void forwardInvocation(Invocation& invocation);

  /// Instance variables, by name; a name that was never set reads as none.
  void setInstanceVariable(std::string_view name, std::any value);
  template <class T>
  std::optional<T> instanceVariable(std::string_view name) const {
    const std::any value = instanceVariableValue(name);
    const auto* typed = std::any_cast<T>(&value);
    return typed == nullptr ? std::nullopt : std::optional<T>(*typed);
  }

 protected:
  /// The method that a message of this name reaches, superclasses included.
  virtual MethodRef methodFor(std::string_view selector) const;

 private:
  template <class Result, class... Arguments>
  friend Result send(const Id&, std::string_view, Arguments...);
  std::any instanceVariableValue(std::string_view name) const;

  Class& isa_;
  mutable Mutex mutex_;
  std::map<std::string, std::any, std::less<>> variables_ GUARDED_BY(mutex_);
};

/// A class: a name, a superclass, instance methods and class methods. It is itself an object, and
/// what is sent to it reaches its class methods.
/// Threads: any. Owns: its method tables.
/// Errors: none; an operation that cannot be done answers false.
class Class : public Object {
 public:
  Class(std::string_view name, Class* superclass);

  const std::string& name() const noexcept { return name_; }
  Class* superclass() const noexcept { return superclass_; }
  bool isSubclassOf(const Class* wanted) const;

  /// False, and nothing changed, where this very class already has a method of that name.
  bool addMethod(std::string_view selector, Implementation implementation,
                 std::string_view typeEncoding);
  bool addClassMethod(std::string_view selector, Implementation implementation,
                      std::string_view typeEncoding);
  /// Exchanges the bodies of two methods that the class has or inherits, each in the class that
  /// has it. False where one of them is missing.
  bool exchangeImplementations(std::string_view first, std::string_view second);

  /// The method that instances answer with, superclasses included.
  MethodRef instanceMethod(std::string_view selector) const;
  MethodRef classMethod(std::string_view selector) const;

 protected:
  MethodRef methodFor(std::string_view selector) const override { return classMethod(selector); }

 private:
  // Looking a method up copies nothing of it: it is shared, and another takes its place when it is
  // exchanged.
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

/// The classes of a host, by name.
/// Threads: any. Owns: its classes, as long as it lives.
/// Errors: a class that is not there is a null pointer.
class Runtime {
 public:
  Runtime() = default;
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  /// The one of the process.
  static Runtime& shared();

  /// Null where the name is taken.
  std::shared_ptr<Class> registerClass(std::string_view name, Class* superclass = nullptr);
  std::shared_ptr<Class> classNamed(std::string_view name) const;

 private:
  mutable Mutex mutex_;
  std::map<std::string, std::shared_ptr<Class>, std::less<>> classes_ GUARDED_BY(mutex_);
};

/// A message of certain types that waits for its target.
/// Threads: one. Owns: as Invocation. Errors: as Invocation.
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
            answer_ = send<Result, Arguments...>(target, selector(),
                                                 std::forward<Arguments>(arguments)...);
        },
        arguments_);
  }
  Result answer() {
    if constexpr (!std::is_void_v<Result>) return std::move(answer_);
  }

 private:
  std::tuple<Arguments...> arguments_;
  std::conditional_t<std::is_void_v<Result>, std::monostate, Result> answer_{};
};

/// Sends a message. Nothing (a null receiver) answers a default value of the result's type; a
/// receiver that does not know the selector forwards the message or raises HostException; one whose
/// method has other types raises it. No lock is held while the method runs.
template <class Result, class... Arguments>
Result send(const Id& receiver, std::string_view selector, Arguments... arguments) {
  if (!receiver) return Result();
  if (const auto method = receiver->methodFor(selector))
    return method->implementation.template invoke<Result, Arguments...>(
        receiver, std::forward<Arguments>(arguments)...);
  TypedInvocation<Result, Arguments...> invocation(selector, std::forward<Arguments>(arguments)...);
  receiver->forwardInvocation(invocation);
  return invocation.answer();
}

}  // namespace wevora::platform
