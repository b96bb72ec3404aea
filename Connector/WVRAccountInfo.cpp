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
  // Between processes a date is sent as seconds since 1970.
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
  WVRAccountInfo info;
  info.lastName_ = std::move(lastName);
  info.firstName_ = std::move(firstName);
  info.email_ = std::move(email);
  info.signupDate_ = signupDate;
  info.courierDriveProhibited_ = courierDriveProhibited;
  info.courierDriveBillingInfoRequired_ = courierDriveBillingInfoRequired;
  info.planSizeGB_ = planSizeGB;
  info.clientID_ = std::move(clientID);
  return info;
}

WVRAccountInfo WVRAccountInfo::initWithCoder(Coder& coder) {
  WVRAccountInfo info;
  const auto object = coder.decodeObject();
  const auto* entries = object ? object->as<Dictionary>() : nullptr;
  if (entries == nullptr) return info;
  info.firstName_ = textIn(*entries, kFirstNameKey);
  info.lastName_ = textIn(*entries, kLastNameKey);
  info.email_ = textIn(*entries, kEmailKey);
  info.signupDate_ = dateIn(*entries, kSignupDateKey);
  info.courierDriveBillingInfoRequired_ = flagIn(*entries, kCourierDriveBillingInfoRequiredKey);
  info.courierDriveProhibited_ = flagIn(*entries, kCourierDriveProhibitedKey);
  if (const auto* size = entries->find(kPlanSizeGBKey)) info.planSizeGB_ = size->longLongValue();
  info.clientID_ = textIn(*entries, kClientIDKey);
  return info;
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
