#pragma once

#include <chrono>
#include <filesystem>
#include <memory>

#include "capture/TextRecognition.h"
#include "capture/tesseract/TesseractModels.h"
#include "core/EventLoop.h"

namespace tavi {

// Text recognition with Tesseract 5's LSTM engine and its language model,
// on the device.
//
// Tesseract's engine is not thread-safe and slow to load (about a second
// for Chinese), so every recognition runs on one worker thread of the
// recogniser's own, which loads the engine on first use and keeps it for
// the next call; it is loaded again only for another set of languages, and
// let go after `idleRelease` without use, as it holds some 70 MB (English
// and Simplified Chinese).
//
// Calls are served one after another in the order they came; each answer is
// posted to `owner`, the owning thread's loop, which must outlive the
// recogniser. Destroying the recogniser stops the worker at once: a
// recognition under way is cut short and no answer arrives after that.
class TesseractRecognizer final : public TextRecognizer {
public:
    static constexpr std::chrono::milliseconds kDefaultIdleRelease = std::chrono::minutes(3);

    explicit TesseractRecognizer(EventLoop& owner, std::chrono::milliseconds idleRelease = kDefaultIdleRelease,
                                 std::filesystem::path dataDirectory = tessdataDirectory());
    ~TesseractRecognizer() override;
    TesseractRecognizer(const TesseractRecognizer&) = delete;
    TesseractRecognizer& operator=(const TesseractRecognizer&) = delete;

    std::optional<std::vector<std::string>> supportedLocales() override;
    void recognizeText(RecognitionImage image, std::optional<NormalizedRect> region, Language source,
                       std::optional<Language> target, std::function<void(RecognitionOutcome)> done) override;

    // Whether the worker holds a loaded engine right now.
    bool engineLoaded() const;

private:
    class Worker;
    std::unique_ptr<Worker> worker_;
    // Answers posted before the recogniser went find it gone through this.
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace tavi
