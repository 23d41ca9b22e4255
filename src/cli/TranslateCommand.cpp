#include <cstdio>
#include <optional>

#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "core/CurlHttpClient.h"
#include "core/RunLoop.h"
#include "core/Text.h"
#include "core/ThreadPool.h"
#include "core/Utf8.h"
#include "core/TranslationService.h"
#include "settings/AppSettings.h"

namespace tavi::cli {
namespace {

// Far beyond anything a translation service accepts; keeps a runaway pipe
// from eating memory.
constexpr std::size_t kMaxInputBytes = 16 * 1024 * 1024;

struct TranslateOptions {
    std::optional<std::string> provider;
    std::optional<Language> from;
    std::optional<Language> to;
    bool json = false;
    std::vector<std::string> words;
};

std::optional<std::string> readStandardInput(std::string& text) {
    char buffer[65536];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, stdin)) > 0) {
        text.append(buffer, n);
        if (text.size() > kMaxInputBytes) return "输入文本过长（超过 16 MiB）";
    }
    if (std::ferror(stdin)) return "无法读取标准输入";
    return std::nullopt;
}

// Parses "--name VALUE" and "--name=VALUE"; returns an error text on misuse.
std::optional<std::string> parseOptions(const Arguments& args, TranslateOptions& options) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg == "-" || arg.rfind("--", 0) != 0) {
            options.words.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "--json") {
            options.json = true;
            continue;
        }
        std::string name = arg, value;
        if (const auto eq = arg.find('='); eq != std::string::npos) {
            name = arg.substr(0, eq);
            value = arg.substr(eq + 1);
        } else if (name == "--provider" || name == "--from" || name == "--to") {
            if (i + 1 >= args.size()) return name + " 需要一个值";
            value = args[++i];
        } else {
            return "未知的选项：" + arg;
        }
        if (name == "--provider") {
            options.provider = value;
        } else if (name == "--from" || name == "--to") {
            auto language = languageFromRawValue(value);
            if (!language) return "未知的语言代码：" + value + "（可用：auto zh zh-TW en ja ko fr de es pt it ru ar th vi）";
            (name == "--from" ? options.from : options.to) = language;
        } else {
            return "未知的选项：" + name;
        }
    }
    return std::nullopt;
}

std::string resultJson(const TranslationResult& result) {
    nlohmann::ordered_json object = {
        {"sourceText", result.sourceText},
        {"translatedText", result.translatedText},
        {"sourceLanguage", rawValue(result.sourceLanguage)},
        {"targetLanguage", rawValue(result.targetLanguage)},
        {"provider", result.provider},
        {"detectedLanguage", nullptr},
    };
    if (result.detectedLanguage) object["detectedLanguage"] = rawValue(*result.detectedLanguage);
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

int runTranslate(const Arguments& args) {
    TranslateOptions options;
    if (auto problem = parseOptions(args, options)) return usageError(*problem);

    std::string text;
    if (options.words.empty() || (options.words.size() == 1 && options.words[0] == "-")) {
        if (auto problem = readStandardInput(text)) return usageError(*problem);
    } else {
        for (const auto& word : options.words) {
            if (!text.empty()) text.push_back(' ');
            text += word;
        }
    }
    text = trimWhitespaceAndNewlines(text);
    if (text.empty()) return usageError("没有要翻译的文本");
    // Such bytes would reach the service garbled (and break the signed
    // services' signatures): say so here, where the user can fix the input.
    if (const std::size_t bad = firstInvalidUtf8(text); bad != text.size())
        return usageError("要翻译的文本不是有效的 UTF-8（第 " + std::to_string(bad + 1) +
                          " 个字节起），请先转换编码，例如 iconv -f GBK -t UTF-8");

    // Overrides apply to this call only and are never written back.
    AppSettingsValues settings = AppSettings::shared().values();
    if (options.provider) settings.activeProviderID = *options.provider;
    if (options.from) settings.sourceLanguage = *options.from;
    if (options.to) settings.targetLanguage = *options.to;

    RunLoop loop;
    ThreadPool background(1);
    TranslationService service({[&]() -> const AppSettingsValues& { return settings; }, CurlHttpClient::shared(),
                                loop, background});
    std::optional<Result<TranslationResult>> outcome;
    service.translate(text, settings, [&](Result<TranslationResult> result) {
        outcome.emplace(std::move(result));
        loop.quit();
    });
    loop.run();

    if (!outcome->ok()) {
        std::fprintf(stderr, "翻译失败：%s\n", describe(outcome->error()).c_str());
        return kExitFailure;
    }
    const std::string out = (options.json ? resultJson(outcome->value()) : outcome->value().translatedText) + "\n";
    std::fwrite(out.data(), 1, out.size(), stdout);
    return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}

}  // namespace tavi::cli
