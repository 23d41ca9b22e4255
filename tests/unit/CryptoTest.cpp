#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "SignatureVerifiers.h"
#include "core/Text.h"
#include "providers/Crypto.h"
#include "providers/HttpStatusCheck.h"
#include "providers/UtcTime.h"

namespace tavi {
namespace {

std::string bytesOf(std::initializer_list<unsigned char> bytes) { return std::string(bytes.begin(), bytes.end()); }

TEST(CryptoTest, DigestsMatchPublishedVectors) {
    // RFC 1321 and FIPS 180-2.
    EXPECT_EQ(lowerHex(md5("")), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(lowerHex(md5("abc")), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(lowerHex(md5("message digest")), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(lowerHex(sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(lowerHex(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    // Embedded NULs are data, not terminators.
    EXPECT_NE(md5(std::string("a\0b", 3)), md5("a"));
    EXPECT_EQ(md5(std::string("a\0b", 3)).size(), 16u);
}

TEST(CryptoTest, HmacsMatchPublishedVectors) {
    // RFC 4231 cases 2 and 6 (a key longer than the block), RFC 2202 case 2.
    EXPECT_EQ(lowerHex(hmacSha256("Jefe", "what do ya want for nothing?")),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    EXPECT_EQ(lowerHex(hmacSha256(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First")),
              "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54");
    EXPECT_EQ(lowerHex(hmacSha1("Jefe", "what do ya want for nothing?")), "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79");
    // An empty key and message are legal.
    EXPECT_EQ(lowerHex(hmacSha256("", "")), "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad");
    EXPECT_EQ(lowerHex(hmacSha1("", "")), "fbdb1d1b18aa6c08324b7d64b71fb76370690e1d");
}

TEST(CryptoTest, HmacsAreSafeOnManyThreadsAtOnce) {
    // Providers sign on worker threads that share the prepared MAC contexts.
    const std::string expected256 = hmacSha256("key", "message");
    const std::string expected1 = hmacSha1("key", "message");
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                if (hmacSha256("key", "message") != expected256 || hmacSha1("key", "message") != expected1) {
                    ++mismatches;
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches, 0);
}

TEST(CryptoTest, Base64IsPaddedAndUnwrapped) {
    // RFC 4648 section 10.
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) EXPECT_EQ(base64(plain), encoded) << plain;
    EXPECT_EQ(base64(bytesOf({0xfb, 0xff, 0xbf})), "+/+/");
    const std::string long_(1000, 'x');
    EXPECT_EQ(base64(long_).find('\n'), std::string::npos);
    EXPECT_EQ(base64(long_).size(), 1336u);
}

TEST(CryptoTest, AgreesWithTheIndependentEncodersOnRandomBytes) {
    std::mt19937 engine(7);
    for (int length = 0; length < 200; ++length) {
        std::string bytes(length, '\0');
        for (char& c : bytes) c = static_cast<char>(engine());
        EXPECT_EQ(base64(bytes), test::verify::base64(bytes));
        EXPECT_EQ(lowerHex(bytes), test::verify::hex(bytes));
    }
}

TEST(CryptoTest, SignsThePublishedBaiduExample) {
    EXPECT_EQ(lowerHex(md5("2015063000000001apple143566028812345678")), "f89f9594663708c1605f3d736d01d2d4");
}

TEST(UtcTimeTest, FormatsWholeSecondsInUtc) {
    const std::int64_t moment = 1741338902;  // 2025-03-07 09:15:02 UTC
    EXPECT_EQ(utcCompactDate(moment), "20250307");
    EXPECT_EQ(utcCompactDateTime(moment), "20250307T091502Z");
    EXPECT_EQ(utcIso8601(moment), "2025-03-07T09:15:02Z");
    EXPECT_EQ(utcIso8601(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(utcIso8601(-1), "1969-12-31T23:59:59Z");
    EXPECT_EQ(utcIso8601(951782400), "2000-02-29T00:00:00Z");
    EXPECT_EQ(utcCompactDateTime(4102444799), "20991231T235959Z");
}

TEST(UtcTimeTest, ExtremeMomentsKeepTheFixedWidth) {
    EXPECT_EQ(utcIso8601(INT64_MAX), "9999-12-31T23:59:59Z");
    EXPECT_EQ(utcIso8601(INT64_MIN), "0000-01-01T00:00:00Z");
    EXPECT_EQ(utcCompactDate(253402300800), "99991231");
    EXPECT_EQ(utcCompactDateTime(-62167219201), "00000101T000000Z");
}

TEST(UtcTimeTest, AgreesWithTheCivilCalendarAcrossCenturies) {
    using namespace std::chrono;
    std::mt19937_64 engine(11);
    std::uniform_int_distribution<std::int64_t> moments(-62167219200, 253402300799);
    for (int i = 0; i < 2000; ++i) {
        const std::int64_t s = moments(engine);
        const sys_seconds point{seconds{s}};
        const sys_days day = floor<days>(point);
        const year_month_day date{day};
        const hh_mm_ss time{point - day};
        char expected[32];
        std::snprintf(expected, sizeof expected, "%04d-%02u-%02uT%02lld:%02lld:%02lldZ", int(date.year()),
                      unsigned(date.month()), unsigned(date.day()), static_cast<long long>(time.hours().count()),
                      static_cast<long long>(time.minutes().count()), static_cast<long long>(time.seconds().count()));
        ASSERT_EQ(utcIso8601(s), expected) << s;
    }
}

TEST(HttpStatusCheckTest, OnlyTwoHundredsPass) {
    for (long status : {200L, 201L, 204L, 299L}) EXPECT_TRUE(checkHttpStatus({status, {}, "garbage"}).ok());
    for (long status : {0L, 100L, 199L, 300L, 304L, 401L, 429L, 500L}) {
        const Status check = checkHttpStatus({status, {}, R"({"error":{"message":"ignored"}})"});
        ASSERT_FALSE(check.ok());
        EXPECT_EQ(describe(check.error()), "HTTP " + std::to_string(status));
    }
}

}  // namespace
}  // namespace tavi
