// Client-side cost of building and signing one request for each signed
// provider: no network, pinned clock, salt and nonce. Prints median and mean
// in microseconds; the budget is 50 µs per request.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

#include "providers/AliyunProvider.h"
#include "providers/BaiduProvider.h"
#include "providers/VolcanoProvider.h"

namespace {

using namespace tavi;
using Clock = std::chrono::steady_clock;

constexpr int kWarmUp = 2000;
constexpr int kIterations = 20000;
constexpr double kBudgetMicros = 50.0;

// Answers every request at once with a canned body, so translate() measures
// only the provider's own work.
class CannedTransport final : public HttpTransport {
public:
    explicit CannedTransport(std::string body) : body_(std::move(body)) {}
    Result<HttpResponse> send(const HttpRequest&) override { return HttpResponse{200, {}, body_}; }

private:
    std::string body_;
};

volatile std::size_t gSink = 0;  // keeps the optimiser from dropping the work

bool report(const char* label, const std::function<std::size_t()>& work) {
    for (int i = 0; i < kWarmUp; ++i) gSink = gSink + work();
    std::vector<double> micros(kIterations);
    for (double& sample : micros) {
        const auto start = Clock::now();
        gSink = gSink + work();
        sample = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }
    std::sort(micros.begin(), micros.end());
    const double median = micros[micros.size() / 2];
    const double mean = std::accumulate(micros.begin(), micros.end(), 0.0) / static_cast<double>(micros.size());
    const double p99 = micros[micros.size() * 99 / 100];
    const bool within = median < kBudgetMicros;
    std::printf("%-34s median %7.2f us   mean %7.2f us   p99 %7.2f us   %s\n", label, median, mean, p99,
                within ? "ok" : "OVER BUDGET");
    return within;
}

}  // namespace

int main() {
    const std::string text = "The quick brown fox jumps over the lazy dog & friends = 100% fun? "
                             "敏捷的棕色狐狸跳过了懒狗。😀\n第二行";
    AppSettingsValues settings;
    settings.baiduAppID = "2015063000000001";
    settings.baiduSecretKey = "12345678";
    settings.volcanoAccessKeyID = "AKLTexampleexampleexample";
    settings.volcanoSecretAccessKey = "TVRNNFpqWmlaV1U0TURrME5EUXhPR0V6TlRSa1pUaGxOalF4T1RReVpXUQ==";
    settings.aliyunAccessKeyID = "LTAI5tExampleExample";
    settings.aliyunAccessKeySecret = "ExampleSecretExampleSecret1234";
    const std::int64_t now = 1741338902;
    const std::string nonce = "3EE8C1B8-83D3-44AF-A94F-4E0AD82FD6CF";

    std::printf("%d iterations after %d warm-up rounds; text of %zu bytes\n\n", kIterations, kWarmUp, text.size());
    bool within = true;
    within &= report("baidu   build + sign", [&] {
        return BaiduProvider::buildRequest(text, Language::auto_, Language::english, settings, 12345).url.size();
    });
    within &= report("volcano build + sign", [&] {
        return VolcanoProvider::buildRequest(text, Language::auto_, Language::english, settings, now).body.size();
    });
    within &= report("aliyun  build + sign", [&] {
        return AliyunProvider::buildRequest(text, Language::auto_, Language::english, settings, nonce, now)
            ->body.size();
    });

    // The whole provider call against an instant reply: credentials, clock,
    // randomness and UUID from the system, building, signing and parsing.
    std::printf("\n");
    const ProviderEnvironment& system = ProviderEnvironment::system();
    const auto full = [&](const TranslationProvider& provider, std::string reply) {
        auto transport = std::make_shared<CannedTransport>(std::move(reply));
        return [&provider, transport, &settings, &text, &system] {
            ProviderContext context{settings, *transport, system};
            return provider.translate(text, Language::auto_, Language::english, context)->translatedText.size();
        };
    };
    BaiduProvider baidu;
    VolcanoProvider volcano;
    AliyunProvider aliyun;
    report("baidu   translate (instant reply)", full(baidu, R"({"trans_result":[{"src":"x","dst":"fox"}]})"));
    report("volcano translate (instant reply)", full(volcano, R"({"TranslationList":[{"Translation":"fox"}]})"));
    report("aliyun  translate (instant reply)", full(aliyun, R"({"Code":"200","Data":{"Translated":"fox"}})"));
    return within ? 0 : 1;
}
