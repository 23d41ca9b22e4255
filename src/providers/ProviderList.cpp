#include "providers/ProviderList.h"

#include "providers/AliyunProvider.h"
#include "providers/BaiduProvider.h"
#include "providers/ClaudeProvider.h"
#include "providers/DeepLProvider.h"
#include "providers/GoogleProvider.h"
#include "providers/OpenAIProvider.h"
#include "providers/VolcanoProvider.h"

namespace tavi {
namespace {

std::vector<std::unique_ptr<TranslationProvider>> buildProviders() {
    std::vector<std::unique_ptr<TranslationProvider>> list;
    // Order: openai, claude, deepl, google, baidu, aliyun, volcano.
    list.push_back(std::make_unique<OpenAIProvider>());
    list.push_back(std::make_unique<ClaudeProvider>());
    list.push_back(std::make_unique<DeepLProvider>());
    list.push_back(std::make_unique<GoogleProvider>());
    list.push_back(std::make_unique<BaiduProvider>());
    list.push_back(std::make_unique<AliyunProvider>());
    list.push_back(std::make_unique<VolcanoProvider>());
    return list;
}

}  // namespace

const std::vector<std::unique_ptr<TranslationProvider>>& allProviders() {
    static const auto kProviders = buildProviders();
    return kProviders;
}

const TranslationProvider* findProvider(std::string_view id) {
    for (const auto& provider : allProviders()) {
        if (provider->id() == id) return provider.get();
    }
    return nullptr;
}

}  // namespace tavi
