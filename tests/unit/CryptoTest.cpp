#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "core/Text.h"
#include "providers/Crypto.h"
#include "providers/UtcTime.h"

namespace tavi {

TEST(CryptoTest, KnownAnswers) {
    const std::string jefe = "what do ya want for nothing?", bigKey(131, '\xaa');
    const std::pair<std::string, std::string> cases[] = {
        // Baidu's published example, FIPS 180-2, RFC 4231 cases 2 and 6 (key longer than a block), RFC 2202 case 2.
        {lowerHex(md5("2015063000000001apple143566028812345678")), "f89f9594663708c1605f3d736d01d2d4"},
        {lowerHex(md5(std::string("a\0b", 3))), "70350f6027bce3713f6b76473084309b"},
        {lowerHex(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {lowerHex(hmacSha256("Jefe", jefe)), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
        {lowerHex(hmacSha256(bigKey, "Test Using Larger Than Block-Size Key - Hash Key First")),
         "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
        {lowerHex(hmacSha1("Jefe", jefe)), "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        // RFC 4648 section 10; sixty 0xff bytes must stay on one line.
        {base64(""), ""}, {base64("f"), "Zg=="}, {base64("fo"), "Zm8="}, {base64("foobar"), "Zm9vYmFy"},
        {base64(std::string(60, '\xff')), std::string(80, '/')}, {lowerHex(std::string("\x00\xab", 2)), "00ab"},
        {utcIso8601(-1), "1969-12-31T23:59:59Z"}, {utcCompactDateTime(INT64_MAX), "99991231T235959Z"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].first, cases[i].second) << "row " << i;
}

TEST(CryptoTest, HmacsAreSafeOnManyThreadsAtOnce) {
    // Providers sign on worker threads that share the prepared MAC contexts.
    const std::string expected = hmacSha256("k", "m") + hmacSha1("k", "m");
    std::atomic<int> mismatches{0};
    auto sign = [&] {
        for (int i = 0; i < 2000; ++i) mismatches += hmacSha256("k", "m") + hmacSha1("k", "m") != expected;
    };
    { std::jthread a(sign), b(sign), c(sign), d(sign); }
    EXPECT_EQ(mismatches, 0);
}

}  // namespace tavi
