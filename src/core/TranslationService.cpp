#include "core/TranslationService.h"

#include <stdexcept>

#include "core/Text.h"
#include "core/Utf8.h"
#include "providers/ProviderList.h"

namespace tavi {
namespace {

std::unique_ptr<TranslationService>& sharedSlot() {
    static std::unique_ptr<TranslationService> instance;
    return instance;
}

}  // namespace

TranslationService::TranslationService(Dependencies dependencies)
    : deps_(std::move(dependencies)), self_(std::make_shared<TranslationService*>(this)) {}

TranslationService::~TranslationService() = default;

TranslationService& TranslationService::shared() {
    auto& instance = sharedSlot();
    if (!instance) throw std::logic_error("TranslationService::installShared() was not called");
    return *instance;
}

TranslationService::SharedInstance TranslationService::installShared(Dependencies dependencies) {
    sharedSlot() = std::make_unique<TranslationService>(std::move(dependencies));
    return {};
}

TranslationService::SharedInstance::~SharedInstance() { sharedSlot().reset(); }

const std::vector<std::unique_ptr<TranslationProvider>>& TranslationService::providers() {
    return allProviders();
}

const TranslationProvider* TranslationService::provider(std::string_view id) { return findProvider(id); }

void TranslationService::translate(std::string text, Completion done) {
    translate(std::move(text), deps_.settings(), std::move(done));
}

void TranslationService::translate(std::string text, const AppSettingsValues& settings, Completion done) {
    if (text.size() > kMaximumTextBytes) {
        finish(TranslationError::apiError("文本太长（" + describeByteSize(text.size()) + "），超过了单次翻译的上限 " +
                                          describeByteSize(kMaximumTextBytes) + "，请选择较短的一段文字"),
               done);
        return;
    }
    // Text that is not UTF-8 never reaches a service: it would arrive
    // garbled, or break the signature of the services that sign it.
    if (!isValidUtf8(text)) {
        finish(TranslationError::apiError("要翻译的文本不是有效的 UTF-8 文本"), done);
        return;
    }
    const TranslationProvider* active = provider(settings.activeProviderID);
    if (!active) {
        finish(TranslationError::apiError("未找到翻译服务：" + settings.activeProviderID), done);
        return;
    }
    if (!active->isConfigured(settings)) {
        finish(TranslationError::apiKeyMissing(active->name()), done);
        return;
    }
    setIsTranslating(true);

    // The snapshot carries the languages and credentials as they are now; a
    // later change affects only the next request.
    auto snapshot = std::make_shared<const AppSettingsValues>(settings);
    std::weak_ptr<TranslationService*> weakSelf = self_;
    HttpTransport& http = deps_.http;
    Executor& owner = deps_.owner;
    const ProviderEnvironment& environment = deps_.environment;
    deps_.background.run([=, text = std::move(text), done = std::move(done), &http, &owner, &environment]() mutable {
        ProviderContext context{*snapshot, http, environment};
        auto outcome = std::make_shared<Result<TranslationResult>>(
            active->translate(text, snapshot->sourceLanguage, snapshot->targetLanguage, context));
        owner.post([weakSelf, outcome, done = std::move(done)] {
            auto self = weakSelf.lock();
            if (!self) return;
            TranslationService& service = **self;
            if (outcome->ok()) {
                service.lastResult_ = outcome->value();
                service.notifyObservers();
            }
            service.setIsTranslating(false);
            if (done) done(std::move(*outcome));
        });
    });
}

void TranslationService::finish(Result<TranslationResult> outcome, const Completion& done) {
    std::weak_ptr<TranslationService*> weakSelf = self_;
    deps_.owner.post([weakSelf, outcome = std::move(outcome), done]() mutable {
        if (weakSelf.expired()) return;
        if (done) done(std::move(outcome));
    });
}

TranslationService::ObserverHandle TranslationService::observe(std::function<void()> onChange) {
    auto handle = std::make_shared<std::function<void()>>(std::move(onChange));
    observers_.push_back(handle);
    return handle;
}

void TranslationService::setIsTranslating(bool value) {
    if (isTranslating_ == value) return;
    isTranslating_ = value;
    notifyObservers();
}

void TranslationService::notifyObservers() {
    // Copy first: an observer may add or drop observers while being told.
    std::vector<std::shared_ptr<std::function<void()>>> live;
    std::erase_if(observers_, [](const auto& weak) { return weak.expired(); });
    for (const auto& weak : observers_) {
        if (auto observer = weak.lock()) live.push_back(std::move(observer));
    }
    for (const auto& observer : live) (*observer)();
}

}  // namespace tavi
