// Whole translations through TranslationService and the process's libcurl
// client, against loopback HTTPS fakes that answer at once: what a user waits
// for on top of the service itself. Prints, per provider, the first (cold)
// request and the median and p90 of the warm ones (budget: 1 ms), and the
// connections opened by 20 sequential OpenAI translations (budget: 1).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "FakeChatServices.h"
#include "FakeSignedServices.h"
#include "TestCertificates.h"
#include "core/CurlHttpClient.h"
#include "core/RunLoop.h"
#include "core/ThreadPool.h"
#include "core/TranslationService.h"

namespace {

using namespace tavi;
using namespace tavi::test;
using Clock = std::chrono::steady_clock;

constexpr int kWarmRequests = 200;
constexpr double kBudgetMillis = 1.0;

// One service wired as the tray application wires it: settings snapshot on
// the owning thread, the provider's call on a worker, the result handed back.
class Rig {
public:
    Rig(std::string connectTo, std::function<void(AppSettingsValues&)> configure)
        : client_({.connectTo = {std::move(connectTo)}, .caBundle = TestCertificates::instance().caPath()}) {
        configure(settings_);
    }

    // Milliseconds for one translation, from the call to the completion on the owning thread.
    double translateOnce(const std::string& text) {
        std::optional<Result<TranslationResult>> outcome;
        const auto start = Clock::now();
        service_.translate(text, [&](Result<TranslationResult> result) {
            outcome.emplace(std::move(result));
            loop_.quit();
        });
        loop_.run();
        const double millis = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        if (!outcome->ok()) {
            std::fprintf(stderr, "translation failed: %s\n", describe(outcome->error()).c_str());
            return -1;
        }
        return millis;
    }

    const CurlHttpClient& client() const { return client_; }

private:
    CurlHttpClient client_;
    AppSettingsValues settings_;
    RunLoop loop_;
    ThreadPool pool_{1};
    TranslationService service_{{[this]() -> const AppSettingsValues& { return settings_; }, client_, loop_, pool_}};
};

bool measure(const char* label, Rig& rig) {
    const double cold = rig.translateOnce("Good morning");
    std::vector<double> warm;
    for (int i = 0; i < kWarmRequests; ++i) warm.push_back(rig.translateOnce("Good morning " + std::to_string(i)));
    if (cold < 0 || std::any_of(warm.begin(), warm.end(), [](double ms) { return ms < 0; })) {
        std::printf("%-8s  FAILED\n", label);
        return false;
    }
    std::sort(warm.begin(), warm.end());
    const double median = warm[warm.size() / 2];
    const bool within = median <= kBudgetMillis;
    std::printf("%-8s  cold %7.3f ms   warm median %6.3f ms   p90 %6.3f ms   %s\n", label, cold, median,
                warm[warm.size() * 9 / 10], within ? "within budget" : "OVER BUDGET");
    return within;
}

}  // namespace

int main() {
    bool ok = true;
    std::printf("translation through TranslationService + libcurl, loopback HTTPS fake, %d warm requests\n",
                kWarmRequests);

    struct Case {
        const char* id;
        std::unique_ptr<FakeService> fake;
        std::function<void(AppSettingsValues&)> configure;
    };
    std::vector<Case> cases;
    cases.push_back({"openai", std::make_unique<FakeOpenAIService>("sk-bench"),
                     [](AppSettingsValues& s) { s.openAIAPIKey = "sk-bench"; }});
    cases.push_back({"claude", std::make_unique<FakeClaudeService>("ck"),
                     [](AppSettingsValues& s) { s.claudeAPIKey = "ck"; }});
    cases.push_back({"google", std::make_unique<FakeGoogleService>("gk"),
                     [](AppSettingsValues& s) { s.googleAPIKey = "gk"; }});
    cases.push_back({"deepl", std::make_unique<FakeDeepLService>("dk:fx", FakeDeepLService::Plan::free),
                     [](AppSettingsValues& s) { s.deepLAPIKey = "dk:fx"; }});
    cases.push_back({"baidu", std::make_unique<FakeBaiduService>("20240101", "baidu-secret"),
                     [](AppSettingsValues& s) {
                         s.baiduAppID = "20240101";
                         s.baiduSecretKey = "baidu-secret";
                     }});
    cases.push_back({"volcano", std::make_unique<FakeVolcanoService>("AKLTbench", "volcano-secret"),
                     [](AppSettingsValues& s) {
                         s.volcanoAccessKeyID = "AKLTbench";
                         s.volcanoSecretAccessKey = "volcano-secret";
                     }});
    cases.push_back({"aliyun", std::make_unique<FakeAliyunService>("LTAIbench", "aliyun-secret"),
                     [](AppSettingsValues& s) {
                         s.aliyunAccessKeyID = "LTAIbench";
                         s.aliyunAccessKeySecret = "aliyun-secret";
                     }});
    for (Case& c : cases) {
        Rig rig(c.fake->connectTo(), [&](AppSettingsValues& s) {
            c.configure(s);
            s.activeProviderID = c.id;
        });
        ok &= measure(c.id, rig);
    }
    {
        FakeOpenAIService fresh("sk-bench");
        Rig rig(fresh.connectTo(), [](AppSettingsValues& s) { s.openAIAPIKey = "sk-bench"; });
        for (int i = 0; i < 20; ++i) ok &= rig.translateOnce("Good morning") >= 0;
        const std::size_t atServer = fresh.server().connectionCount();
        const bool one = atServer == 1 && rig.client().connectionsOpened() == 1;
        std::printf("connections for 20 sequential translations: %zu at the server, %zu opened by the client   %s\n",
                    atServer, rig.client().connectionsOpened(), one ? "within budget" : "OVER BUDGET");
        ok &= one;
    }
    return ok ? 0 : 1;
}
