#include "core/CurlHttpClient.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <mutex>
#include <string_view>

namespace tavi {
namespace {

#ifdef TAVI_VERSION
constexpr const char* kUserAgent = "Tavi/" TAVI_VERSION;
#else
constexpr const char* kUserAgent = "Tavi/0.1.0";
#endif

// Easy handles kept for reuse; more than this many idle ones are freed.
constexpr std::size_t kIdleHandlesKept = 8;

void initialiseCurlOnce() {
    // Never paired with curl_global_cleanup: the shared client lives until
    // exit, and cleaning up under threads that may still send is worse.
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    (void)initialised;
}

std::string trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
    return std::string(text);
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

// The URL as it may be shown: without credentials, query or fragment, which
// is where keys and signatures travel.
std::string presentableUrl(std::string_view url) {
    url = url.substr(0, url.find_first_of("?#"));
    const auto scheme = url.find("://");
    const auto authorityStart = scheme == std::string_view::npos ? 0 : scheme + 3;
    const auto authorityEnd = url.find('/', authorityStart);
    const auto at = url.substr(0, authorityEnd).rfind('@');
    if (at != std::string_view::npos && at >= authorityStart) {
        return std::string(url.substr(0, authorityStart)) + std::string(url.substr(at + 1));
    }
    return std::string(url);
}

std::string hostOf(const std::string& url) {
    CURLU* parsed = curl_url();
    if (parsed == nullptr) return {};
    std::string host;
    if (curl_url_set(parsed, CURLUPART_URL, url.c_str(), 0) == CURLUE_OK) {
        char* part = nullptr;
        if (curl_url_get(parsed, CURLUPART_HOST, &part, 0) == CURLUE_OK && part != nullptr) host = part;
        curl_free(part);
    }
    curl_url_cleanup(parsed);
    return host;
}

TransportError::Kind kindOf(CURLcode code) {
    using Kind = TransportError::Kind;
    switch (code) {
    case CURLE_OPERATION_TIMEDOUT: return Kind::timedOut;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY: return Kind::hostNotFound;
    case CURLE_COULDNT_CONNECT: return Kind::connectionRefused;
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM: return Kind::connectionLost;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
    case CURLE_USE_SSL_FAILED: return Kind::tlsFailure;
    case CURLE_FILESIZE_EXCEEDED: return Kind::responseTooLarge;
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL: return Kind::invalidUrl;
    default: return Kind::other;
    }
}

struct CurlSlist {
    curl_slist* list = nullptr;

    CurlSlist() = default;
    CurlSlist(const CurlSlist&) = delete;
    CurlSlist& operator=(const CurlSlist&) = delete;
    ~CurlSlist() { curl_slist_free_all(list); }

    bool append(const std::string& line) {
        curl_slist* extended = curl_slist_append(list, line.c_str());
        if (extended == nullptr) return false;
        list = extended;
        return true;
    }
};

// What one transfer collects from curl's callbacks.
struct Transfer {
    std::size_t limit = 0;
    HttpResponse response;
    bool tooLarge = false;

    static size_t onHeader(char* data, size_t size, size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const size_t length = size * count;
        std::string_view line(data, length);
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
        if (line.rfind("HTTP/", 0) == 0) {
            // A new status line: only the final response's fields count.
            transfer.response.headers.clear();
            return length;
        }
        const auto colon = line.find(':');
        if (line.empty() || colon == std::string_view::npos) return length;
        HttpHeader header{std::string(line.substr(0, colon)), trim(line.substr(colon + 1))};
        if (equalsIgnoringCase(header.name, "Content-Length")) {
            unsigned long long announced = 0;
            const auto* end = header.value.data() + header.value.size();
            auto [rest, error] = std::from_chars(header.value.data(), end, announced);
            if (error == std::errc() && rest == end && announced > transfer.limit) {
                transfer.tooLarge = true;
                return 0;  // refuse before a byte of the body is read
            }
        }
        transfer.response.headers.push_back(std::move(header));
        return length;
    }

    static size_t onBody(char* data, size_t size, size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const size_t length = size * count;
        if (length > transfer.limit - std::min(transfer.limit, transfer.response.body.size())) {
            transfer.tooLarge = true;
            return CURL_WRITEFUNC_ERROR;
        }
        transfer.response.body.append(data, length);
        return length;
    }
};

}  // namespace

// The share (connections, TLS sessions, DNS) and the handle pool.
class CurlHttpClient::Session {
public:
    explicit Session(Options options) : options_(std::move(options)) {
        initialiseCurlOnce();
        for (const auto& entry : options_.connectTo) connectTo_.append(entry);

        share_ = curl_share_init();
        curl_share_setopt(share_, CURLSHOPT_LOCKFUNC, &Session::lock);
        curl_share_setopt(share_, CURLSHOPT_UNLOCKFUNC, &Session::unlock);
        curl_share_setopt(share_, CURLSHOPT_USERDATA, this);
        curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
        curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
        curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT);
    }

    ~Session() {
        for (CURL* handle : idle_) curl_easy_cleanup(handle);
        curl_share_cleanup(share_);
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Result<HttpResponse> send(const HttpRequest& request) {
        if (std::optional<TransportError> refusal = unsafeHeader(request)) {
            refusal->host = hostOf(request.url);
            return *std::move(refusal);
        }
        CURL* handle = acquire();
        if (handle == nullptr) return TransportError{TransportError::Kind::other, hostOf(request.url), "curl_easy_init"};
        auto result = perform(handle, request);
        release(handle);
        return result;
    }

    std::size_t connectionsOpened() const { return connectionsOpened_; }
    const Options& options() const { return options_; }

    void abandonTransfers() {
        std::lock_guard lock(activeMutex_);
        abandoned_ = true;
        for (CURLM* multi : active_) curl_multi_wakeup(multi);
    }

private:
    // curl_easy_perform, but on a multi handle of its own so that
    // abandonTransfers() can wake it from any thread and end it at once.
    CURLcode performAbandonably(CURL* handle) {
        CURLM* multi = curl_multi_init();
        if (multi == nullptr) return CURLE_OUT_OF_MEMORY;
        {
            std::lock_guard lock(activeMutex_);
            if (abandoned_) {
                curl_multi_cleanup(multi);
                return CURLE_ABORTED_BY_CALLBACK;
            }
            active_.push_back(multi);
        }
        curl_multi_add_handle(multi, handle);
        CURLcode result = CURLE_OK;
        for (int running = 1;;) {
            if (curl_multi_perform(multi, &running) != CURLM_OK) {
                result = CURLE_OUT_OF_MEMORY;
                break;
            }
            if (running == 0) {
                int left = 0;
                while (CURLMsg* message = curl_multi_info_read(multi, &left))
                    if (message->msg == CURLMSG_DONE) result = message->data.result;
                break;
            }
            // curl's own time-outs still apply: it wakes the poll for them.
            curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
            if (isAbandoned()) {
                result = CURLE_ABORTED_BY_CALLBACK;
                break;
            }
        }
        {
            std::lock_guard lock(activeMutex_);
            std::erase(active_, multi);
        }
        curl_multi_remove_handle(multi, handle);
        curl_multi_cleanup(multi);
        return result;
    }

    bool isAbandoned() {
        std::lock_guard lock(activeMutex_);
        return abandoned_;
    }

    Result<HttpResponse> perform(CURL* handle, const HttpRequest& request) {
        char errorText[CURL_ERROR_SIZE] = {};
        Transfer transfer;
        transfer.limit = options_.maxResponseBytes;

        CurlSlist headers;
        for (const auto& header : request.headers) {
            // "Name:" would make curl drop the field; "Name;" sends it empty.
            headers.append(header.value.empty() ? header.name + ";" : header.name + ": " + header.value);
        }
        headers.append("Expect:");

        const long timeoutMs = static_cast<long>(std::max<std::chrono::milliseconds::rep>(request.timeout.count(), 1));

        curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText);
        curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
        curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
        if (!options_.caBundle.empty()) curl_easy_setopt(handle, CURLOPT_CAINFO, options_.caBundle.c_str());
        if (connectTo_.list != nullptr) curl_easy_setopt(handle, CURLOPT_CONNECT_TO, connectTo_.list);
        curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, timeoutMs);
        curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
        curl_easy_setopt(handle, CURLOPT_USERAGENT, kUserAgent);
        curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.list);
        curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options_.maxResponseBytes));
        curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
        curl_easy_setopt(handle, CURLOPT_HEADERDATA, &transfer);
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);

        if (request.method == "GET") {
            curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
        } else if (request.method == "HEAD") {
            curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
        } else {
            if (request.method != "POST") curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.method.c_str());
            // Always with a size, so an empty body goes out as Content-Length: 0
            // and a body with NUL bytes is sent whole.
            curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
            curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
        }

        const CURLcode code = performAbandonably(handle);

        long newConnections = 0;
        if (curl_easy_getinfo(handle, CURLINFO_NUM_CONNECTS, &newConnections) == CURLE_OK && newConnections > 0) {
            connectionsOpened_ += static_cast<std::size_t>(newConnections);
        }

        if (code == CURLE_ABORTED_BY_CALLBACK) return TransportError{TransportError::Kind::other, hostOf(request.url),
                                                                    "Tavi 正在退出，请求已取消"};
        if (code != CURLE_OK) return failure(code, errorText, request.url, transfer.tooLarge);

        curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &transfer.response.status);
        return std::move(transfer.response);
    }

    static TransportError failure(CURLcode code, const char* errorText, const std::string& url, bool tooLarge) {
        TransportError error;
        error.kind = tooLarge ? TransportError::Kind::responseTooLarge : kindOf(code);
        error.host = hostOf(url);
        if (error.kind == TransportError::Kind::invalidUrl) {
            error.detail = presentableUrl(url);
        } else {
            error.detail = errorText[0] != '\0' ? trim(errorText) : curl_easy_strerror(code);
        }
        return error;
    }

    CURL* acquire() {
        {
            std::lock_guard lock(poolMutex_);
            if (!idle_.empty()) {
                CURL* handle = idle_.back();
                idle_.pop_back();
                return handle;
            }
        }
        CURL* handle = curl_easy_init();
        // Set once: curl_easy_reset keeps a handle's share.
        if (handle != nullptr) curl_easy_setopt(handle, CURLOPT_SHARE, share_);
        return handle;
    }

    void release(CURL* handle) {
        curl_easy_reset(handle);
        {
            std::lock_guard lock(poolMutex_);
            if (idle_.size() < kIdleHandlesKept) {
                idle_.push_back(handle);
                return;
            }
        }
        curl_easy_cleanup(handle);
    }

    static void lock(CURL*, curl_lock_data data, curl_lock_access, void* self) {
        static_cast<Session*>(self)->shareLocks_[static_cast<std::size_t>(data)].lock();
    }

    static void unlock(CURL*, curl_lock_data data, void* self) {
        static_cast<Session*>(self)->shareLocks_[static_cast<std::size_t>(data)].unlock();
    }

    const Options options_;
    CurlSlist connectTo_;
    CURLSH* share_ = nullptr;
    std::array<std::mutex, CURL_LOCK_DATA_LAST> shareLocks_;
    std::mutex poolMutex_;
    std::vector<CURL*> idle_;
    std::atomic<std::size_t> connectionsOpened_{0};
    std::mutex activeMutex_;
    std::vector<CURLM*> active_;
    bool abandoned_ = false;
};

CurlHttpClient::Options CurlHttpClient::Options::fromEnvironment() {
    Options options;
    if (const char* connectTo = std::getenv("TAVI_CONNECT_TO")) {
        std::string_view rest = connectTo;
        while (!rest.empty()) {
            const auto comma = rest.find(',');
            std::string entry = trim(rest.substr(0, comma));
            if (!entry.empty()) options.connectTo.push_back(std::move(entry));
            if (comma == std::string_view::npos) break;
            rest.remove_prefix(comma + 1);
        }
    }
    if (const char* caBundle = std::getenv("TAVI_CA_BUNDLE")) options.caBundle = caBundle;
    return options;
}

CurlHttpClient::CurlHttpClient(Options options) : session_(std::make_unique<Session>(std::move(options))) {}

CurlHttpClient::~CurlHttpClient() = default;

CurlHttpClient& CurlHttpClient::shared() {
    // Deliberately never destroyed: worker threads may still be sending while
    // the process exits.
    static CurlHttpClient* const client = new CurlHttpClient();
    return *client;
}

Result<HttpResponse> CurlHttpClient::send(const HttpRequest& request) { return session_->send(request); }

std::size_t CurlHttpClient::connectionsOpened() const { return session_->connectionsOpened(); }

void CurlHttpClient::abandonTransfers() { session_->abandonTransfers(); }

const CurlHttpClient::Options& CurlHttpClient::options() const { return session_->options(); }

}  // namespace tavi
