#pragma once

#include <optional>

#include "FakeTransport.h"
#include "core/RunLoop.h"
#include "core/ThreadPool.h"
#include "core/TranslationService.h"

namespace tavi::test {

// A TranslationService wired to a fake transport, or to the one given, with
// the test thread as its owning thread. translateAndWait() runs the loop until
// the completion arrives.
class ServiceHarness {
public:
    explicit ServiceHarness(HttpTransport* given = nullptr);

    AppSettingsValues settings;
    FakeTransport transport;  // the service's, unless another was given
    RunLoop loop;

    Result<TranslationResult> translateAndWait(std::string text);
    TranslationService& service() { return *service_; }

private:
    ThreadPool pool_{1};
    std::optional<TranslationService> service_;
};

}  // namespace tavi::test
