#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "core/HttpTransport.h"

namespace tavi {

// The process's HTTP client, on libcurl. Keep-alive connections, TLS sessions
// and resolved names are shared by every request, whatever thread sends it, so
// that consecutive translations to one service reuse one warm connection.
//
// Always verifies the server's certificate and host name; speaks only http
// and https; never follows redirects (a 3xx comes back as a response); never
// sends a header that unsafeHeader() refuses; honours
// the usual proxy variables (http_proxy, https_proxy, no_proxy, all_proxy).
// Failures come back as TransportError values and nothing is ever logged.
class CurlHttpClient final : public HttpTransport {
public:
    struct Options {
        // Larger bodies are refused (TransportError::Kind::responseTooLarge)
        // without being read to the end.
        std::size_t maxResponseBytes = 8 * 1024 * 1024;
        // curl --connect-to entries, "HOST:PORT:CONNECT_HOST:CONNECT_PORT":
        // requests keep their URL, Host and TLS name but go elsewhere.
        std::vector<std::string> connectTo;
        // PEM file of the certificate authorities to trust; empty means the
        // system's default store.
        std::string caBundle;

        // TAVI_CONNECT_TO (comma-separated entries; empty ones ignored) and
        // TAVI_CA_BUNDLE; defaults for whatever is unset.
        static Options fromEnvironment();
    };

    explicit CurlHttpClient(Options options = Options::fromEnvironment());
    ~CurlHttpClient() override;
    CurlHttpClient(const CurlHttpClient&) = delete;
    CurlHttpClient& operator=(const CurlHttpClient&) = delete;

    // The one client of the process, configured from the environment on first
    // use and kept until exit.
    static CurlHttpClient& shared();

    Result<HttpResponse> send(const HttpRequest& request) override;

    // For a process about to exit: every transfer in progress ends at once
    // with a TransportError, and so does every later one, from any thread.
    void abandonTransfers();

    // New connections made so far (reused ones are not counted).
    std::size_t connectionsOpened() const;

    const Options& options() const;

private:
    class Session;
    std::unique_ptr<Session> session_;
};

}  // namespace tavi
