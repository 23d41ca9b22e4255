#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Executor.h"
#include "core/HttpTransport.h"
#include "core/ProviderEnvironment.h"
#include "core/Result.h"
#include "core/TranslationProvider.h"
#include "core/TranslationResult.h"
#include "settings/AppSettingsValues.h"

namespace tavi {

// The one way the application translates. It picks the active provider from
// the settings, refuses an unconfigured one, runs the provider's request on a
// background runner and hands the outcome back on the owning thread.
//
// Every member is called on the owning thread (the thread that runs `owner`);
// completions and observer callbacks also arrive there.
class TranslationService {
public:
    using Completion = std::function<void(Result<TranslationResult>)>;

    // More text than any of the services takes in one request (the chat
    // models' context windows are the largest, at a few hundred KB; the
    // translation APIs stop far below). A whole book selected by accident
    // is refused here, at once, rather than after a long upload.
    static constexpr std::size_t kMaximumTextBytes = 512 * 1024;
    // Reads the current settings; called on the owning thread.
    using SettingsSource = std::function<const AppSettingsValues&()>;

    struct Dependencies {
        SettingsSource settings;
        HttpTransport& http;
        Executor& owner;
        BackgroundRunner& background;
        const ProviderEnvironment& environment = ProviderEnvironment::system();
    };

    explicit TranslationService(Dependencies dependencies);
    ~TranslationService();

    TranslationService(const TranslationService&) = delete;
    TranslationService& operator=(const TranslationService&) = delete;

    // The process's instance. installShared() must run first, on the owning
    // thread, with the dependencies the application has set up; the instance
    // lives as long as the returned handle, which must not outlive them.
    static TranslationService& shared();
    class SharedInstance;
    [[nodiscard]] static SharedInstance installShared(Dependencies dependencies);

    // Starts a translation of `text` exactly as given. `done` runs later on the
    // owning thread, never from inside this call.
    void translate(std::string text, Completion done);

    // Same as translate(), with the settings replaced for this call only.
    void translate(std::string text, const AppSettingsValues& settings, Completion done);

    bool isTranslating() const { return isTranslating_; }
    const std::optional<TranslationResult>& lastResult() const { return lastResult_; }

    // Called after isTranslating or lastResult changed. Keep the returned
    // handle; dropping it stops the calls.
    using ObserverHandle = std::shared_ptr<void>;
    [[nodiscard]] ObserverHandle observe(std::function<void()> onChange);

    // The fixed list of providers and the exact-id lookup over it.
    static const std::vector<std::unique_ptr<TranslationProvider>>& providers();
    static const TranslationProvider* provider(std::string_view id);

private:
    void setIsTranslating(bool value);
    void notifyObservers();
    void finish(Result<TranslationResult> outcome, const Completion& done);

    Dependencies deps_;
    bool isTranslating_ = false;
    std::optional<TranslationResult> lastResult_;
    std::vector<std::weak_ptr<std::function<void()>>> observers_;
    // Lets completions that arrive after destruction do nothing.
    std::shared_ptr<TranslationService*> self_;
};

class TranslationService::SharedInstance {
public:
    SharedInstance(const SharedInstance&) = delete;
    SharedInstance& operator=(const SharedInstance&) = delete;
    ~SharedInstance();

private:
    friend class TranslationService;
    SharedInstance() = default;
};

}  // namespace tavi
