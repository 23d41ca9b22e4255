#pragma once

#include <string>

#include "core/HttpTransport.h"
#include "core/Language.h"
#include "core/ProviderEnvironment.h"
#include "core/Result.h"
#include "core/TranslationResult.h"
#include "settings/AppSettingsValues.h"

namespace tavi {

// What one provider call may use. The settings are a snapshot taken on the
// owning thread, so a provider runs on any thread without touching live state.
struct ProviderContext {
    const AppSettingsValues& settings;
    HttpTransport& http;
    const ProviderEnvironment& environment = ProviderEnvironment::system();
};

// The contract of every translation service client. A provider is a small
// value: it holds its id and name and reads everything else per call.
class TranslationProvider {
public:
    TranslationProvider(std::string id, std::string name) : id_(std::move(id)), name_(std::move(name)) {}
    virtual ~TranslationProvider() = default;

    const std::string& id() const { return id_; }
    const std::string& name() const { return name_; }

    virtual bool isConfigured(const AppSettingsValues& settings) const = 0;

    // Blocks while the request runs; call it off the owning thread.
    virtual Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                                const ProviderContext& context) const = 0;

private:
    std::string id_;
    std::string name_;
};

}  // namespace tavi
