#include "capture/tesseract/TesseractRecognizer.h"

#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "capture/tesseract/RecognizedText.h"

namespace tavi {
namespace {

// One byte per pixel, dark text on a light ground, as Tesseract reads best.
struct GrayImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

bool isValid(const RecognitionImage& image) {
    if (image.width <= 0 || image.height <= 0 || image.bytesPerLine < image.width * 4) return false;
    const auto needed = static_cast<std::size_t>(image.bytesPerLine) * static_cast<std::size_t>(image.height - 1) +
                        static_cast<std::size_t>(image.width) * 4;
    return image.pixels.size() >= needed;
}

// The region's pixels in grey, turned over when the ground is dark: the
// engine would otherwise read each poorly recognised line a second time
// inverted, which costs more than doing it once here.
GrayImage toGray(const RecognitionImage& image, PixelRect region) {
    GrayImage gray{region.width, region.height, {}};
    gray.pixels.resize(static_cast<std::size_t>(region.width) * static_cast<std::size_t>(region.height));
    std::uint64_t sum = 0;
    std::uint8_t* out = gray.pixels.data();
    for (int y = region.top; y < region.top + region.height; ++y) {
        const std::uint8_t* row = image.pixels.data() + static_cast<std::size_t>(y) * image.bytesPerLine;
        for (int x = region.left; x < region.left + region.width; ++x) {
            std::uint32_t argb;
            std::memcpy(&argb, row + static_cast<std::size_t>(x) * 4, sizeof argb);
            // ITU-R BT.601 luma in fixed point.
            const std::uint32_t luma = (((argb >> 16) & 0xFF) * 77 + ((argb >> 8) & 0xFF) * 150 + (argb & 0xFF) * 29) >> 8;
            *out++ = static_cast<std::uint8_t>(luma);
            sum += luma;
        }
    }
    // Text covers a small part of any region: the mean is the ground's.
    if (sum < static_cast<std::uint64_t>(gray.pixels.size()) * 128)
        for (auto& pixel : gray.pixels) pixel = static_cast<std::uint8_t>(255 - pixel);
    return gray;
}

// How tall the smaller text lines are, from the bands of pixel rows with ink
// in them: the band a quarter of the way up from the lowest, leaving out
// bands too thin for text (rules, underlines). 0 without any.
int smallTextHeight(const GrayImage& gray) {
    constexpr int kThinnestText = 6;
    std::vector<int> bands;
    int band = 0;
    for (int y = 0; y <= gray.height; ++y) {
        bool ink = false;
        if (y < gray.height) {
            const std::uint8_t* row = gray.pixels.data() + static_cast<std::size_t>(y) * gray.width;
            ink = std::any_of(row, row + gray.width, [](std::uint8_t pixel) { return pixel < 128; });
        }
        if (ink) {
            ++band;
        } else {
            if (band >= kThinnestText) bands.push_back(band);
            band = 0;
        }
    }
    if (bands.empty()) return 0;
    std::nth_element(bands.begin(), bands.begin() + bands.size() / 4, bands.end());
    return bands[bands.size() / 4];
}

// Twice the size, each new pixel the mean of its neighbours.
GrayImage doubled(const GrayImage& gray) {
    GrayImage out{gray.width * 2, gray.height * 2, {}};
    out.pixels.resize(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height));
    const auto at = [&gray](int x, int y) -> unsigned {
        return gray.pixels[static_cast<std::size_t>(std::min(y, gray.height - 1)) * gray.width +
                           static_cast<std::size_t>(std::min(x, gray.width - 1))];
    };
    for (int y = 0; y < gray.height; ++y) {
        std::uint8_t* top = out.pixels.data() + static_cast<std::size_t>(2 * y) * out.width;
        std::uint8_t* bottom = top + out.width;
        for (int x = 0; x < gray.width; ++x) {
            const unsigned p = at(x, y), right = at(x + 1, y), below = at(x, y + 1), diagonal = at(x + 1, y + 1);
            top[2 * x] = static_cast<std::uint8_t>(p);
            top[2 * x + 1] = static_cast<std::uint8_t>((p + right + 1) / 2);
            bottom[2 * x] = static_cast<std::uint8_t>((p + below + 1) / 2);
            bottom[2 * x + 1] = static_cast<std::uint8_t>((p + right + below + diagonal + 2) / 4);
        }
    }
    return out;
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string out;
    for (const auto& part : parts) {
        if (!out.empty()) out += separator;
        out += part;
    }
    return out;
}

RecognitionOutcome failure(std::string reason) { return {std::nullopt, std::move(reason)}; }

// Debian's libtesseract spreads the network's gates over OpenMP threads,
// a parallel region for every step of every line. Their hand-offs and spinning
// cost more than they give: one thread reads the same region five to six
// times faster. The library's code fixes how many threads each region asks
// for, so the only way from here is to allow no active parallel level at
// all: every region then runs in the thread that meets it. In the tray only
// Tesseract uses OpenMP. Without OpenMP there is nothing to do.
void runOpenMpRegionsInOneThread() {
    using SetMaxActiveLevels = void (*)(int);
    if (auto set = reinterpret_cast<SetMaxActiveLevels>(::dlsym(RTLD_DEFAULT, "omp_set_max_active_levels"))) set(0);
}

}  // namespace

class TesseractRecognizer::Worker {
public:
    struct Request {
        RecognitionImage image;
        std::optional<NormalizedRect> region;
        Language source;
        std::optional<Language> target;
        std::function<void(RecognitionOutcome)> done;
        std::weak_ptr<const bool> alive;
    };

    Worker(EventLoop& owner, std::chrono::milliseconds idleRelease, std::filesystem::path dataDirectory)
        : owner_(owner), idleRelease_(idleRelease), dataDirectory_(std::move(dataDirectory)) {
        thread_ = std::thread([this] { run(); });
    }

    ~Worker() {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
            cancel_ = true;
        }
        wake_.notify_one();
        thread_.join();
    }

    void add(Request request) {
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(std::move(request));
        }
        wake_.notify_one();
    }

    const std::filesystem::path& dataDirectory() const { return dataDirectory_; }
    bool engineLoaded() const { return engine_loaded_.load(); }

private:
    void run() {
        runOpenMpRegionsInOneThread();
        std::unique_lock lock(mutex_);
        while (true) {
            const auto ready = [this] { return stopping_ || !requests_.empty(); };
            if (engine_ && !wake_.wait_for(lock, idleRelease_, ready)) {
                lock.unlock();
                releaseEngine();
                lock.lock();
                continue;
            }
            wake_.wait(lock, ready);
            if (stopping_) break;
            Request request = std::move(requests_.front());
            requests_.pop_front();
            lock.unlock();

            RecognitionOutcome outcome = recognize(request);
            // The answer is delivered, or dropped, on the owning thread, where
            // the recogniser dies: no race with its destruction.
            owner_.post([alive = std::move(request.alive), done = std::move(request.done),
                         outcome = std::move(outcome)] {
                if (!alive.expired()) done(outcome);
            });
            lock.lock();
        }
        lock.unlock();
        releaseEngine();
    }

    RecognitionOutcome recognize(const Request& request) {
        if (!isValid(request.image)) return failure("截图图像无效，无法识别文字");

        const auto locales =
            chooseRecognitionLocales(request.source, request.target, installedRecognitionLocales(dataDirectory_));
        const std::vector<std::string> models = tesseractLanguages(locales);
        if (models.empty()) return failure("没有安装文字识别的语言模型");
        if (auto failed = loadEngine(models)) return failure(std::move(*failed));

        const PixelRect region = pixelRegion(request.region, request.image.width, request.image.height);
        if (region.empty()) return {std::string(), {}};
        GrayImage gray = toGray(request.image, region);
        // Lines under 12 pixels (text of 11 px and less, common on screens
        // at 100%) lose a good part of their characters; doubled, they are
        // read whole. Larger text gains nothing from it but time.
        if (const int height = smallTextHeight(gray); height > 0 && height < 12) gray = doubled(gray);
        engine_->SetImage(gray.pixels.data(), gray.width, gray.height, 1, gray.width);
        // Screens have no resolution of their own to tell; this is the one
        // Tesseract assumes when it is not told, said aloud to keep it quiet.
        engine_->SetSourceResolution(70);

        tesseract::ETEXT_DESC monitor;
        monitor.cancel = [](void* stopping, int) { return static_cast<std::atomic<bool>*>(stopping)->load(); };
        monitor.cancel_this = &cancel_;
        if (engine_->Recognize(&monitor) != 0) return failure("文字识别失败");

        std::vector<std::string> lines;
        std::unique_ptr<tesseract::ResultIterator> line(engine_->GetIterator());
        if (line) {
            do {
                std::unique_ptr<char[]> text(line->GetUTF8Text(tesseract::RIL_TEXTLINE));
                if (!text) continue;
                std::string_view view(text.get());
                while (!view.empty() && view.back() == '\n') view.remove_suffix(1);
                if (view.find_first_not_of(' ') == std::string_view::npos) continue;
                lines.push_back(removeBlanksBetweenCjk(view));
            } while (line->Next(tesseract::RIL_TEXTLINE));
        }
        engine_->Clear();
        return {joined(lines, "\n"), {}};
    }

    // Loads the engine for `models` unless it is loaded for them already;
    // why it could not, otherwise.
    std::optional<std::string> loadEngine(const std::vector<std::string>& models) {
        const std::string languages = joined(models, "+");
        if (engine_ && engineLanguages_ == languages) return std::nullopt;
        releaseEngine();

        auto engine = std::make_unique<tesseract::TessBaseAPI>();
        // Tesseract's own messages would land on the desktop session's stderr.
        engine->SetVariable("debug_file", "/dev/null");
        if (engine->Init(dataDirectory_.c_str(), languages.c_str(), tesseract::OEM_LSTM_ONLY) != 0) {
            std::vector<std::string> missing;
            for (const auto& model : models) {
                std::error_code error;
                if (!std::filesystem::exists(dataDirectory_ / (model + ".traineddata"), error)) missing.push_back(model);
            }
            return "文字识别引擎无法加载语言模型（" + joined(missing.empty() ? models : missing, "+") + "）";
        }
        engine->SetPageSegMode(tesseract::PSM_AUTO);
        // Dark grounds are turned over before the engine sees them.
        engine->SetVariable("tessedit_do_invert", "0");
        engine_ = std::move(engine);
        engineLanguages_ = languages;
        engine_loaded_ = true;
        return std::nullopt;
    }

    void releaseEngine() {
        if (!engine_) return;
        engine_.reset();
        engineLanguages_.clear();
#ifdef __GLIBC__
        // The engine's many small blocks would otherwise stay with the process.
        ::malloc_trim(0);
#endif
        engine_loaded_ = false;
    }

    EventLoop& owner_;
    const std::chrono::milliseconds idleRelease_;
    const std::filesystem::path dataDirectory_;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Request> requests_;
    bool stopping_ = false;
    // Read by the engine's cancel check: set together with stopping_.
    std::atomic<bool> cancel_ = false;

    // The worker thread's alone.
    std::unique_ptr<tesseract::TessBaseAPI> engine_;
    std::string engineLanguages_;
    std::atomic<bool> engine_loaded_ = false;

    std::thread thread_;
};

TesseractRecognizer::TesseractRecognizer(EventLoop& owner, std::chrono::milliseconds idleRelease,
                                         std::filesystem::path dataDirectory)
    : worker_(std::make_unique<Worker>(owner, idleRelease, std::move(dataDirectory))) {}

TesseractRecognizer::~TesseractRecognizer() = default;

std::optional<std::vector<std::string>> TesseractRecognizer::supportedLocales() {
    return installedRecognitionLocales(worker_->dataDirectory());
}

void TesseractRecognizer::recognizeText(RecognitionImage image, std::optional<NormalizedRect> region, Language source,
                                        std::optional<Language> target,
                                        std::function<void(RecognitionOutcome)> done) {
    worker_->add({std::move(image), region, source, target, std::move(done), alive_});
}

bool TesseractRecognizer::engineLoaded() const { return worker_->engineLoaded(); }

}  // namespace tavi
