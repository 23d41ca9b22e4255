#include "ServiceHarness.h"

namespace tavi::test {

ServiceHarness::ServiceHarness(HttpTransport* given) {
    service_.emplace(TranslationService::Dependencies{
        [this]() -> const AppSettingsValues& { return settings; }, given ? *given : transport, loop, pool_});
}

Result<TranslationResult> ServiceHarness::translateAndWait(std::string text) {
    std::optional<Result<TranslationResult>> outcome;
    service_->translate(std::move(text), [&](Result<TranslationResult> r) {
        outcome.emplace(std::move(r));
        loop.quit();
    });
    loop.run();
    return std::move(*outcome);
}

}  // namespace tavi::test
