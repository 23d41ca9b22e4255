// What the bracket-depth pre-scan in parseJsonBody costs on ordinary replies
// and what it saves on hostile ones (bodies up to the HTTP client's 8 MiB
// limit). Each hostile case runs in a child process so that its peak memory
// can be read on its own. Prints figures; decides nothing.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "core/Json.h"

namespace {

using namespace tavi;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxBody = 8 * 1024 * 1024;

volatile std::size_t gSink = 0;

double medianMicros(int iterations, const std::function<void()>& work) {
    std::vector<double> samples(static_cast<std::size_t>(iterations));
    for (double& sample : samples) {
        const auto start = Clock::now();
        work();
        sample = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

std::string chatReply(std::size_t contentBytes) {
    return R"({"id":"chatcmpl-1","object":"chat.completion","created":1700000000,"model":"gpt-4o-mini",)"
           R"("choices":[{"index":0,"message":{"role":"assistant","content":")" +
           std::string(contentBytes, 'x') +
           R"("},"finish_reason":"stop"}],"usage":{"prompt_tokens":12,"completion_tokens":3,"total_tokens":15}})";
}

// Wall time and the child's peak resident memory for one parse.
void hostile(const char* label, const std::string& body, bool withPreScan) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (withPreScan) {
            gSink = parseJsonBody(body).ok();
        } else {
            try {
                gSink = Json::parse(body).size();
            } catch (const Json::exception&) {
                gSink = 0;
            }
        }
        ::_exit(0);
    }
    const auto start = Clock::now();
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    const double millis = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    std::printf("%-44s %-14s %9.1f ms  peak %8ld KiB  %s\n", label, withPreScan ? "pre-scan" : "parser alone",
                millis, usage.ru_maxrss, WIFEXITED(status) ? "exited" : "CRASHED");
}

}  // namespace

int main() {
    std::printf("Ordinary replies (median of many parses):\n");
    for (std::size_t content : {std::size_t{40}, std::size_t{4000}, std::size_t{1000000}}) {
        const std::string body = chatReply(content);
        const int iterations = content > 100000 ? 50 : 5000;
        const double parse = medianMicros(iterations, [&] { gSink = parseJsonBody(body).ok(); });
        const double parserAlone = medianMicros(iterations, [&] { gSink = Json::parse(body).size(); });
        std::printf("  %8zu-byte body: parseJsonBody %9.2f us, parser alone %9.2f us (pre-scan %.1f%%)\n",
                    body.size(), parse, parserAlone, 100.0 * (parse - parserAlone) / parserAlone);
    }

    std::printf("\nHostile bodies of up to %zu bytes (one parse each, in a child):\n", kMaxBody);
    const std::string opened(kMaxBody, '[');
    const std::string closed = std::string(kMaxBody / 2, '[') + std::string(kMaxBody / 2, ']');
    std::string objects;
    while (objects.size() + 5 < kMaxBody) objects += "{\"a\":";
    for (bool withPreScan : {true, false}) {
        hostile("8 MiB of [", opened, withPreScan);
        hostile("4 Mi levels of [] nesting, closed", closed, withPreScan);
        hostile("1.6 Mi levels of {\"a\": nesting, unclosed", objects, withPreScan);
    }
    return 0;
}
