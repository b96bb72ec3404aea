#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Connector/Coder.h"
#include "Platform/Base/Date.h"

namespace wevora {

inline constexpr const char* kLastNameKey = "kLastNameKey";
inline constexpr const char* kFirstNameKey = "kFirstNameKey";
inline constexpr const char* kEmailKey = "kEmailKey";
inline constexpr const char* kSignupDateKey = "kSignupDateKey";
inline constexpr const char* kCourierDriveProhibitedKey = "kCourierDriveProhibitedKey";
/// The agent writes this key without the suffix "Key".
inline constexpr const char* kCourierDriveBillingInfoRequiredKey =
    "kCourierDriveBillingInfoRequired";
inline constexpr const char* kPlanSizeGBKey = "kPlanSizeGBKey";
inline constexpr const char* kClientIDKey = "kClientIDKey";

/// The account that the agent backs up.
/// Errors: a missing archive entry, or one of another type, decodes to nullopt, NO or 0.
class WVRAccountInfo {
 public:
  using Text = std::optional<std::string>;

  // -initWithLastName:firstName:email:signupDate:courierDriveProhibited:
  //  courierDriveBillingInfoRequired:planSizeGB:clientID:
  static WVRAccountInfo initWithLastName(Text lastName, Text firstName, Text email,
                                         std::optional<platform::Date> signupDate,
                                         bool courierDriveProhibited,
                                         bool courierDriveBillingInfoRequired,
                                         std::int64_t planSizeGB, Text clientID);
  static constexpr const char* kInitEncoding = "@72@0:8@16@24@32@40c48c52q56@64";

  // -initWithCoder:
  static WVRAccountInfo initWithCoder(Coder& coder);
  /// Encodes one object, a dictionary.
  // -encodeWithCoder:
  void encodeWithCoder(Coder& coder) const;
  /// This record if it is sent by value; null if the default, a proxy, is sent.
  // -replacementObjectForPortCoder:
  const WVRAccountInfo* replacementObjectForPortCoder(const PortCoder& coder) const;
  // -copyWithZone:
  WVRAccountInfo copyWithZone() const;

  const Text& lastName() const noexcept { return lastName_; }
  const Text& firstName() const noexcept { return firstName_; }
  const Text& email() const noexcept { return email_; }
  std::optional<platform::Date> signupDate() const noexcept { return signupDate_; }
  bool courierDriveProhibited() const noexcept { return courierDriveProhibited_; }
  bool courierDriveBillingInfoRequired() const noexcept { return courierDriveBillingInfoRequired_; }
  std::int64_t planSizeGB() const noexcept { return planSizeGB_; }
  const Text& clientID() const noexcept { return clientID_; }

  friend bool operator==(const WVRAccountInfo&, const WVRAccountInfo&) = default;

 private:
  WVRAccountInfo() = default;

  Text lastName_;
  Text firstName_;
  Text email_;
  std::optional<platform::Date> signupDate_;
  bool courierDriveProhibited_ = false;
  bool courierDriveBillingInfoRequired_ = false;
  std::int64_t planSizeGB_ = 0;
  Text clientID_;
};

}  // namespace wevora
