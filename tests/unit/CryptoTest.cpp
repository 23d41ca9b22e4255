#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/Text.h"
#include "providers/Crypto.h"
#include "providers/UtcTime.h"

namespace tavi {
namespace {

TEST(CryptoTest, KnownAnswers) {
    const std::string jefe = "what do ya want for nothing?";
    const std::pair<std::string, std::string> cases[] = {
        // RFC 1321, FIPS 180-2, RFC 4231 cases 2 and 6 (a key longer than the block), RFC 2202 case 2.
        {lowerHex(md5("")), "d41d8cd98f00b204e9800998ecf8427e"},
        {lowerHex(md5("message digest")), "f96b697d7cb7938d525a2f31aaf161d0"},
        {lowerHex(md5("2015063000000001apple143566028812345678")), "f89f9594663708c1605f3d736d01d2d4"},  // Baidu's
        {lowerHex(md5(std::string("a\0b", 3))), "70350f6027bce3713f6b76473084309b"},
        {lowerHex(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {lowerHex(hmacSha256("Jefe", jefe)), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
        {lowerHex(hmacSha256(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First")),
         "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
        {lowerHex(hmacSha256("", "")), "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad"},
        {lowerHex(hmacSha1("Jefe", jefe)), "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        {lowerHex(hmacSha1("", "")), "fbdb1d1b18aa6c08324b7d64b71fb76370690e1d"},
        // RFC 4648 section 10; sixty 0xff bytes must stay on one line.
        {base64(""), ""}, {base64("f"), "Zg=="}, {base64("fo"), "Zm8="}, {base64("foobar"), "Zm9vYmFy"},
        {base64(std::string(60, '\xff')), std::string(80, '/')},
        {lowerHex(std::string("\x00\x0f\xab\xff", 4)), "000fabff"},
        {utcIso8601(-1), "1969-12-31T23:59:59Z"}, {utcIso8601(951782400), "2000-02-29T00:00:00Z"},
        {utcCompactDateTime(1709251199), "20240229T235959Z"}, {utcCompactDate(1741338902), "20250307"},
        {utcIso8601(INT64_MAX), "9999-12-31T23:59:59Z"}, {utcIso8601(INT64_MIN), "0000-01-01T00:00:00Z"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].first, cases[i].second) << "row " << i;
}

TEST(CryptoTest, HmacsAreSafeOnManyThreadsAtOnce) {
    // Providers sign on worker threads that share the prepared MAC contexts.
    const std::string expected256 = hmacSha256("key", "message"), expected1 = hmacSha1("key", "message");
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                mismatches += hmacSha256("key", "message") != expected256 || hmacSha1("key", "message") != expected1;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace tavi
