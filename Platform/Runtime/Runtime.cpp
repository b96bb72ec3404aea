#include "Platform/Runtime/Runtime.h"

#include "Platform/Support/Guard.h"

namespace wevora::platform {

bool Object::isKindOf(const Class* wanted) const {
  return isa_.isSubclassOf(wanted);
}

bool Object::respondsToSelector(std::string_view selector) const {
  return methodFor(selector).has_value();
}

std::optional<std::string> Object::methodSignatureForSelector(std::string_view selector) const {
  const auto method = methodFor(selector);
  return method ? std::optional(method->typeEncoding) : std::nullopt;
}

void Object::forwardInvocation(Invocation& invocation) {
  throw HostException("unrecognized selector " + std::string(invocation.selector()));
}

std::optional<Method> Object::methodFor(std::string_view selector) const {
  return isa_.instanceMethod(selector);
}

Implementation Object::implementationFor(std::string_view selector) const {
  return isa_.implementation(&Class::methods_, selector);
}

void Object::setInstanceVariable(std::string_view name, std::any value) {
  const MutexLock lock(mutex_);
  variables_.insert_or_assign(std::string(name), std::move(value));
}

std::any Object::instanceVariableValue(std::string_view name) const {
  const MutexLock lock(mutex_);
  const auto found = variables_.find(name);
  return found == variables_.end() ? std::any() : found->second;
}

// A class is an instance of itself as far as `isa` goes; its messages go to its class methods.
Class::Class(std::string_view name, Class* superclass)
    : Object(*this), name_(name), superclass_(superclass) {}

bool Class::isSubclassOf(const Class* wanted) const {
  if (wanted == nullptr) return false;
  for (const Class* candidate = this; candidate != nullptr; candidate = candidate->superclass_)
    if (candidate == wanted) return true;
  return false;
}

bool Class::addMethod(std::string_view selector, Implementation implementation,
                      std::string_view typeEncoding) {
  const MutexLock lock(tables_);
  return methods_
      .try_emplace(std::string(selector),
                   Method{std::move(implementation), std::string(typeEncoding)})
      .second;
}

bool Class::addClassMethod(std::string_view selector, Implementation implementation,
                           std::string_view typeEncoding) {
  const MutexLock lock(tables_);
  return classMethods_
      .try_emplace(std::string(selector),
                   Method{std::move(implementation), std::string(typeEncoding)})
      .second;
}

std::optional<Method> Class::ownMethod(const Methods Class::*table,
                                       std::string_view selector) const {
  const MutexLock lock(tables_);
  const auto found = (this->*table).find(selector);
  return found == (this->*table).end() ? std::nullopt : std::optional(found->second);
}

Implementation Class::implementation(const Methods Class::*table, std::string_view selector) const {
  for (const Class* owner = this; owner != nullptr; owner = owner->superclass_) {
    const MutexLock lock(owner->tables_);
    const auto& methods = owner->*table;
    if (const auto found = methods.find(selector); found != methods.end())
      return found->second.implementation;
  }
  return {};
}

std::optional<Method> Class::instanceMethod(std::string_view selector) const {
  for (const Class* owner = this; owner != nullptr; owner = owner->superclass_)
    if (auto method = owner->ownMethod(&Class::methods_, selector)) return method;
  return std::nullopt;
}

std::optional<Method> Class::classMethod(std::string_view selector) const {
  for (const Class* owner = this; owner != nullptr; owner = owner->superclass_)
    if (auto method = owner->ownMethod(&Class::classMethods_, selector)) return method;
  return std::nullopt;
}

Class* Class::ownerOf(std::string_view selector) {
  for (Class* owner = this; owner != nullptr; owner = owner->superclass_)
    if (owner->ownMethod(&Class::methods_, selector)) return owner;
  return nullptr;
}

bool Class::exchangeImplementations(std::string_view first, std::string_view second) {
  Class* firstOwner = ownerOf(first);
  Class* secondOwner = ownerOf(second);
  if (firstOwner == nullptr || secondOwner == nullptr) return false;
  const Implementation one = firstOwner->ownMethod(&Class::methods_, first)->implementation;
  const Implementation two = secondOwner->ownMethod(&Class::methods_, second)->implementation;
  const auto put = [](Class& owner, std::string_view selector, const Implementation& body) {
    const MutexLock lock(owner.tables_);
    owner.methods_.find(selector)->second.implementation = body;
  };
  put(*firstOwner, first, two);
  put(*secondOwner, second, one);
  return true;
}

Runtime& Runtime::shared() {
  static NeverDestroyed<Runtime> runtime;
  return *runtime;
}

std::shared_ptr<Class> Runtime::registerClass(std::string_view name, Class* superclass) {
  auto made = std::make_shared<Class>(name, superclass);
  const MutexLock lock(mutex_);
  return classes_.try_emplace(std::string(name), made).second ? made : nullptr;
}

std::shared_ptr<Class> Runtime::classNamed(std::string_view name) const {
  const MutexLock lock(mutex_);
  const auto found = classes_.find(name);
  return found == classes_.end() ? nullptr : found->second;
}

}  // namespace wevora::platform
