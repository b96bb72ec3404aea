#include "Connector/WVRAccountInfo.h"

#include <utility>

namespace wevora {
namespace {

using platform::Dictionary;
using platform::valueAs;

WVRAccountInfo::Text textIn(const Dictionary& entries, const char* key) {
  const auto* text = valueAs<std::string>(entries, key);
  return text == nullptr ? std::nullopt : WVRAccountInfo::Text(*text);
}

std::optional<platform::Date> dateIn(const Dictionary& entries, const char* key) {
  if (const auto* date = valueAs<platform::Date>(entries, key)) return *date;
  // As it travels between processes: seconds since 1970.
  if (const auto* seconds = valueAs<double>(entries, key)) return platform::Date{*seconds};
  return std::nullopt;
}

bool flagIn(const Dictionary& entries, const char* key) {
  const auto* value = entries.find(key);
  return value != nullptr && value->boolValue();
}

template <class T>
void setIfAny(Dictionary& entries, const char* key, const std::optional<T>& value) {
  if (value) entries.set(key, *value);
}

}  // namespace

WVRAccountInfo WVRAccountInfo::initWithLastName(Text lastName, Text firstName, Text email,
                                                std::optional<platform::Date> signupDate,
                                                bool courierDriveProhibited,
                                                bool courierDriveBillingInfoRequired,
                                                std::int64_t planSizeGB, Text clientID) {
  WVRAccountInfo made;
  made.lastName_ = std::move(lastName);
  made.firstName_ = std::move(firstName);
  made.email_ = std::move(email);
  made.signupDate_ = signupDate;
  made.courierDriveProhibited_ = courierDriveProhibited;
  made.courierDriveBillingInfoRequired_ = courierDriveBillingInfoRequired;
  made.planSizeGB_ = planSizeGB;
  made.clientID_ = std::move(clientID);
  return made;
}

WVRAccountInfo WVRAccountInfo::initWithCoder(Coder& coder) {
  WVRAccountInfo made;
  const auto object = coder.decodeObject();
  const auto* entries = object ? object->as<Dictionary>() : nullptr;
  if (entries == nullptr) return made;
  made.firstName_ = textIn(*entries, kFirstNameKey);
  made.lastName_ = textIn(*entries, kLastNameKey);
  made.email_ = textIn(*entries, kEmailKey);
  made.signupDate_ = dateIn(*entries, kSignupDateKey);
  made.courierDriveBillingInfoRequired_ = flagIn(*entries, kCourierDriveBillingInfoRequiredKey);
  made.courierDriveProhibited_ = flagIn(*entries, kCourierDriveProhibitedKey);
  if (const auto* size = entries->find(kPlanSizeGBKey)) made.planSizeGB_ = size->longLongValue();
  made.clientID_ = textIn(*entries, kClientIDKey);
  return made;
}

void WVRAccountInfo::encodeWithCoder(Coder& coder) const {
  Dictionary entries;
  setIfAny(entries, kFirstNameKey, firstName_);
  setIfAny(entries, kLastNameKey, lastName_);
  setIfAny(entries, kEmailKey, email_);
  setIfAny(entries, kSignupDateKey, signupDate_);
  entries.set(kCourierDriveBillingInfoRequiredKey, courierDriveBillingInfoRequired_);
  entries.set(kCourierDriveProhibitedKey, courierDriveProhibited_);
  entries.set(kPlanSizeGBKey, planSizeGB_);
  setIfAny(entries, kClientIDKey, clientID_);
  coder.encodeObject(std::move(entries));
}

const WVRAccountInfo* WVRAccountInfo::replacementObjectForPortCoder(const PortCoder& coder) const {
  return coder.isBycopy ? this : nullptr;
}

WVRAccountInfo WVRAccountInfo::copyWithZone() const {
  return initWithLastName(lastName_, firstName_, email_, signupDate_, courierDriveProhibited_,
                          courierDriveBillingInfoRequired_, planSizeGB_, clientID_);
}

}  // namespace wevora
