#include <thread>

#include <gtest/gtest.h>

#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/WVRDatabaseDateFormatter.h"

namespace wevora {
namespace {

using platform::Date;

class FixedZone : public platform::TimeZone {
 public:
  explicit FixedZone(std::int64_t offset) : offset_(offset) {}
  std::int64_t offsetAtUtc(std::int64_t) const override { return offset_; }
  std::int64_t offsetAtLocal(std::int64_t) const override { return offset_; }

 private:
  std::int64_t offset_;
};

class FixedZones : public platform::TimeZones {
 public:
  std::shared_ptr<const platform::TimeZone> systemTimeZone() const override { return zone; }
  std::shared_ptr<const platform::TimeZone> zone;
};

class DatabaseDate : public testing::Test {
 protected:
  platform::LocalNotificationCenter center;
  FixedZones zones;
  WVRDatabaseDateFormatter formatter{center, zones};
};

// 2014-03-01 17:05:09 UTC
constexpr double kMoment = 1393693509;

TEST_F(DatabaseDate, OfAWholeSecondHasSevenZeroDigits) {
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{kMoment}), "2014-03-01 17:05:09.0000000");
}

TEST_F(DatabaseDate, HasSevenDigitsInUnitsOfTenMillionths) {
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{kMoment + 0.125}),
            "2014-03-01 17:05:09.1250000");
}

TEST_F(DatabaseDate, IsParsedInUtcBeforeAnyZoneChange) {
  EXPECT_EQ(formatter.dateFromDatabaseDateString("2014-03-01 17:05:09.1250000"),
            Date{kMoment + 0.125});
}

TEST_F(DatabaseDate, OfNineteenOrTwentyCharactersIsRejected) {
  EXPECT_EQ(formatter.dateFromDatabaseDateString("2014-03-01 17:05:09"), std::nullopt);
  EXPECT_EQ(formatter.dateFromDatabaseDateString("2014-03-01 17:05:09."), std::nullopt);
  EXPECT_EQ(formatter.dateFromDatabaseDateString("2014-03-01 17:05:09\xC3\xA9"), std::nullopt);
  EXPECT_EQ(formatter.dateFromDatabaseDateString(""), std::nullopt);
}

TEST_F(DatabaseDate, OfAValueThatIsNotTextIsNullopt) {
  EXPECT_EQ(formatter.dateFromDatabaseDateString(std::nullopt), std::nullopt);
  EXPECT_EQ(formatter.databaseDateStringFromDate(std::nullopt), std::nullopt);
}

TEST_F(DatabaseDate, Before1970HasAFractionCountedUpwards) {
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{-0.25}), "1969-12-31 23:59:59.7500000");
}

TEST_F(DatabaseDate, ReadsAFractionOfAnyLengthInUnitsOfTenMillionths) {
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01.5"), Date{1 + 5 / 1e7});
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01.20000000"), Date{3});
}

TEST_F(DatabaseDate, SkipsAnyCharacterAfterTheSeconds) {
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01Z5000000"), Date{1.5});
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01\xC3\xA9"
                                                 "5000000"),
            Date{1.5});
}

TEST_F(DatabaseDate, ReadsAFractionThatIsNotANumberAsZero) {
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01.abc"), Date{1});
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01.inf"), Date{1});
  EXPECT_EQ(formatter.dateFromDatabaseDateString("1970-01-01 00:00:01\xF0\x9F\x98\x80"
                                                 "5000000"),
            Date{1});
}

TEST_F(DatabaseDate, ThatIsNotInTheCalendarIsRejected) {
  for (const char* text :
       {"2014-02-30 17:05:09.0000000", "2014-13-01 17:05:09.0000000", "2014-03-01 24:05:09.0000000",
        "2014-03-01T17:05:09.0000000", "xxxx-03-01 17:05:09.0000000", "0000-03-01 17:05:09.0000000",
        "aaaaaaaaaaaaaaaaaaaaaaaaaaaa"})
    EXPECT_EQ(formatter.dateFromDatabaseDateString(text), std::nullopt) << text;
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{1e18}), std::nullopt);
}

TEST_F(DatabaseDate, IsInTheLocalZoneOnceTheSystemsZoneHasChanged) {
  zones.zone = std::make_shared<FixedZone>(3600);
  center.post({platform::kSystemTimeZoneDidChangeNotification});
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{kMoment}), "2014-03-01 18:05:09.0000000");
  EXPECT_EQ(formatter.dateFromDatabaseDateString("2014-03-01 18:05:09.0000000"), Date{kMoment});
}

TEST_F(DatabaseDate, StaysInUtcWithoutASystemZoneAndAfterOtherNotifications) {
  center.post({platform::kSystemTimeZoneDidChangeNotification});
  zones.zone = std::make_shared<FixedZone>(3600);
  formatter.systemTimeZoneChangedNotificationReceived({"another"});
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{kMoment}), "2014-03-01 17:05:09.0000000");
}

TEST_F(DatabaseDate, IsUnaffectedByADestroyedFormatter) {
  auto destroyed = std::make_unique<WVRDatabaseDateFormatter>(center, zones);
  destroyed.reset();
  zones.zone = std::make_shared<FixedZone>(3600);
  center.post({platform::kSystemTimeZoneDidChangeNotification});
  EXPECT_EQ(formatter.databaseDateStringFromDate(Date{0}), "1970-01-01 01:00:00.0000000");
}

TEST_F(DatabaseDate, CanBeConvertedDuringAZoneChange) {
  zones.zone = std::make_shared<FixedZone>(3600);
  std::thread converter([this] {
    for (int i = 0; i < 2000; ++i) {
      const auto text = formatter.databaseDateStringFromDate(Date{0});
      EXPECT_TRUE(text == "1970-01-01 00:00:00.0000000" || text == "1970-01-01 01:00:00.0000000");
    }
  });
  for (int i = 0; i < 200; ++i) center.post({platform::kSystemTimeZoneDidChangeNotification});
  converter.join();
}

TEST(DBFormat, UsesTheProcessWideFormatter) {
  EXPECT_EQ(dateWithDBFormat(dbFormat(Date{kMoment})), Date{kMoment});
  EXPECT_EQ(dateWithDBFormat(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace wevora
