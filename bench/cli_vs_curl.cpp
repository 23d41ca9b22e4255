// A whole `tavi translate` process against a loopback HTTPS fake of the
// OpenAI service, side by side with the curl tool sending the identical
// request: start-up, settings, TLS and the reply, as a script would see them.
// Prints median wall time and peak memory of each and tavi's ratio to curl
// (budget: 1.3 for the wall time, 1.5 for memory).
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

#include <optional>

#include "CliRunner.h"
#include "FakeHttpsServer.h"
#include "TestCertificates.h"
#include "providers/OpenAIProvider.h"

namespace {

using namespace tavi;
using namespace tavi::test;

constexpr int kRuns = 15;
constexpr double kWallBudget = 1.3;
constexpr double kMemoryBudget = 1.5;
constexpr const char* kCurl = "/usr/bin/curl";

struct Figures {
    double wallMillis = 0;
    long peakRssKiB = 0;
};

// Medians over kRuns runs; nothing if any run failed.
std::optional<Figures> medians(const std::string& program, const std::vector<std::string>& args, const EnvVars& env) {
    std::vector<double> walls;
    std::vector<long> rss;
    for (int i = 0; i < kRuns; ++i) {
        const CliResult r = runProgram(program, args, "", env);
        if (r.exitCode != 0) {
            std::fprintf(stderr, "%s failed (%d): %s\n", program.c_str(), r.exitCode, r.err.c_str());
            return std::nullopt;
        }
        walls.push_back(r.wallSeconds * 1000);
        rss.push_back(r.peakRssKiB);
    }
    std::sort(walls.begin(), walls.end());
    std::sort(rss.begin(), rss.end());
    return Figures{walls[kRuns / 2], rss[kRuns / 2]};
}

}  // namespace

int main() {
    if (::access(kCurl, X_OK) != 0) {
        std::printf("curl is not installed (scripts/setup.sh installs it); nothing to compare with\n");
        return 0;
    }
    FakeHttpsServer server;
    server.on("POST", "/v1/chat/completions",
              FakeHttpsServer::respond(200, R"({"choices":[{"message":{"content":"早上好"}}]})"));
    const std::string caPath = TestCertificates::instance().caPath();
    const std::string connectTo = server.connectTo("api.openai.com");

    CliSandbox sandbox;
    if (sandbox.run({"config", "set", "openAIAPIKey", "sk-bench"}).exitCode != 0) return 1;
    EnvVars env = {{"XDG_CONFIG_HOME", sandbox.configHome().string()},
                   {"TAVI_CONNECT_TO", connectTo},
                   {"TAVI_CA_BUNDLE", caPath}};

    AppSettingsValues settings;
    settings.openAIAPIKey = "sk-bench";
    const HttpRequest request = OpenAIProvider::buildRequest("Good morning", Language::auto_, Language::chinese,
                                                             settings);
    std::vector<std::string> curlArgs = {"-sS", "--connect-to", connectTo, "--cacert", caPath, "-X", request.method,
                                         "-A", "Tavi/0.1.0", "--data-binary", request.body, "-o", "/dev/null"};
    for (const HttpHeader& header : request.headers) {
        curlArgs.insert(curlArgs.end(), {"-H", header.name + ": " + header.value});
    }
    curlArgs.push_back(request.url);

    const auto tavi = medians(TAVI_BINARY, {"translate", "Good morning"}, env);
    const auto curl = medians(kCurl, curlArgs, env);
    if (!tavi || !curl) return 1;
    if (server.lastRequest().body != request.body) {
        std::fprintf(stderr, "tavi and curl did not send the same body\n");
        return 1;
    }

    const double wallRatio = tavi->wallMillis / curl->wallMillis;
    const double rssRatio = static_cast<double>(tavi->peakRssKiB) / static_cast<double>(curl->peakRssKiB);
    std::printf("one translation as a process, median of %d runs\n", kRuns);
    std::printf("tavi translate  wall %6.1f ms   peak RSS %6ld KiB\n", tavi->wallMillis, tavi->peakRssKiB);
    std::printf("curl            wall %6.1f ms   peak RSS %6ld KiB\n", curl->wallMillis, curl->peakRssKiB);
    const bool within = wallRatio <= kWallBudget && rssRatio <= kMemoryBudget;
    std::printf("ratio           wall %6.2f      peak RSS %6.2f       %s\n", wallRatio, rssRatio,
                within ? "within budget" : "OVER BUDGET");
    return within ? 0 : 1;
}
