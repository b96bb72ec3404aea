#include "Platform/Runtime/Runtime.h"

#include "Platform/Base/Guard.h"

namespace wevora::platform {

bool Object::isKindOf(const Class* wanted) const {
  return isa_.isSubclassOf(wanted);
}

bool Object::respondsToSelector(std::string_view selector) const {
  return methodFor(selector) != nullptr;
}

std::optional<std::string> Object::methodSignatureForSelector(std::string_view selector) const {
  const auto method = methodFor(selector);
  return method ? std::optional(method->typeEncoding) : std::nullopt;
}

void Object::forwardInvocation(Invocation& invocation) {
  throw HostException("unrecognized selector " + std::string(invocation.selector()));
}

MethodRef Object::methodFor(std::string_view selector) const {
  return isa_.instanceMethod(selector);
}

void Object::setInstanceVariable(std::string_view name, std::any value) {
  // The old value is destroyed after the unlock: its destructor may send a message to this object.
  const MutexLock lock(mutex_);
  std::swap(variables_[std::string(name)], value);
}

std::any Object::instanceVariableValue(std::string_view name) const {
  const MutexLock lock(mutex_);
  const auto found = variables_.find(name);
  return found == variables_.end() ? std::any() : found->second;
}

// The `isa` of a class is the class itself; messages to it call its class methods.
Class::Class(std::string_view name, Class* superclass)
    : Object(*this), name_(name), superclass_(superclass) {}

bool Class::isSubclassOf(const Class* wanted) const {
  if (wanted == nullptr) return false;
  for (const Class* candidate = this; candidate != nullptr; candidate = candidate->superclass_)
    if (candidate == wanted) return true;
  return false;
}

bool Class::add(Methods& methods, std::string_view selector, Implementation implementation,
                std::string_view typeEncoding) {
  const auto [place, isNew] = methods.try_emplace(std::string(selector));
  if (isNew)
    place->second = std::make_shared<const Method>(
        Method{std::move(implementation), std::string(typeEncoding)});
  return isNew;
}

MethodRef Class::found(const Methods& methods, std::string_view selector) {
  const auto place = methods.find(selector);
  return place == methods.end() ? nullptr : place->second;
}

bool Class::addMethod(std::string_view selector, Implementation implementation,
                      std::string_view typeEncoding) {
  const MutexLock lock(tables_);
  return add(methods_, selector, std::move(implementation), typeEncoding);
}

bool Class::addClassMethod(std::string_view selector, Implementation implementation,
                           std::string_view typeEncoding) {
  const MutexLock lock(tables_);
  return add(classMethods_, selector, std::move(implementation), typeEncoding);
}

MethodRef Class::ownInstanceMethod(std::string_view selector) const {
  const MutexLock lock(tables_);
  return found(methods_, selector);
}

MethodRef Class::ownClassMethod(std::string_view selector) const {
  const MutexLock lock(tables_);
  return found(classMethods_, selector);
}

MethodRef Class::instanceMethod(std::string_view selector) const {
  for (const Class* owner = this; owner != nullptr; owner = owner->superclass_)
    if (auto method = owner->ownInstanceMethod(selector)) return method;
  return nullptr;
}

MethodRef Class::classMethod(std::string_view selector) const {
  for (const Class* owner = this; owner != nullptr; owner = owner->superclass_)
    if (auto method = owner->ownClassMethod(selector)) return method;
  return nullptr;
}

Class* Class::ownerOf(std::string_view selector) {
  for (Class* owner = this; owner != nullptr; owner = owner->superclass_)
    if (owner->ownInstanceMethod(selector)) return owner;
  return nullptr;
}

void Class::setImplementation(std::string_view selector, const Implementation& implementation) {
  const MutexLock lock(tables_);
  auto& method = methods_.find(selector)->second;
  method = std::make_shared<const Method>(Method{implementation, method->typeEncoding});
}

bool Class::exchangeImplementations(std::string_view first, std::string_view second) {
  Class* firstOwner = ownerOf(first);
  Class* secondOwner = ownerOf(second);
  if (firstOwner == nullptr || secondOwner == nullptr) return false;
  const Implementation one = firstOwner->ownInstanceMethod(first)->implementation;
  const Implementation two = secondOwner->ownInstanceMethod(second)->implementation;
  firstOwner->setImplementation(first, two);
  secondOwner->setImplementation(second, one);
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
