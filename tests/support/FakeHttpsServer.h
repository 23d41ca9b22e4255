#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/HttpTransport.h"

namespace tavi::test {

// One request as it arrived at the fake, before any decoding.
struct RecordedRequest {
    std::string method;
    std::string target;   // the request-target exactly as sent, query included
    std::string path;     // target up to '?'
    std::string query;    // what follows '?', still percent-encoded; empty without '?'
    std::vector<HttpHeader> headers;  // in arrival order, names spelt as sent, values without surrounding blanks
    std::string head;     // request line and header lines byte for byte, up to and including the blank line
    std::string body;
    std::string serverName;  // the TLS server name (SNI) the client asked for; empty if none
    std::size_t connectionId = 0;  // 1 for the first connection the fake accepted, 2 for the next, ...

    // First header of that name, compared without regard to case; empty if absent.
    std::string header(std::string_view name) const;
    std::size_t headerCount(std::string_view name) const;
};

// An HTTPS server on 127.0.0.1 and an ephemeral port, serving the test
// certificate (TestCertificates) so that a client trusting the test CA can
// reach it under any production host name through curl's connect-to.
//
// It runs from construction to destruction on its own threads. Every request
// is recorded, including the ones no handler answers (those get 404).
//
// Why it handles TLS and the connection loop itself instead of leaving them to
// httplib::SSLServer: httplib keeps headers in a sorted multimap, so their
// arrival order, their spelling and the raw head would be lost, and it offers
// no way to tell connections apart or to misbehave on the wire. The fake feeds
// httplib's request parser and response writer from its own TLS stream, which
// records the bytes read. Limits: at most 16 connections are served at once
// (an idle kept-alive connection holds its worker); HTTP/1.1 only (no ALPN, so
// clients fall back from h2); pipelined requests would be recorded together
// with the request before them; a request body is what httplib decoded
// (Content-Length or chunked).
class FakeHttpsServer {
public:
    using Handler = std::function<void(const RecordedRequest&, httplib::Response&)>;

    enum class Certificate {
        trusted,    // issued by the test CA
        untrusted,  // self-signed: every client must refuse it
    };

    explicit FakeHttpsServer(Certificate certificate = Certificate::trusted);
    ~FakeHttpsServer();
    FakeHttpsServer(const FakeHttpsServer&) = delete;
    FakeHttpsServer& operator=(const FakeHttpsServer&) = delete;

    int port() const { return port_; }
    // A curl connect-to entry sending https://<host>/ to this server: "host:443:127.0.0.1:<port>".
    std::string connectTo(std::string_view host) const;

    // Answers `method` requests to exactly `path` (no query). A later
    // registration for the same method and path replaces the earlier one.
    void on(std::string method, std::string path, Handler handler);

    // A connection serves up to 100 requests and may idle 5 seconds between them.
    // Closes each connection right after its response, without announcing it
    // in a Connection header: the client finds its kept-alive connection dead.
    void setDropConnectionAfterEachResponse(bool drop);

    RecordedRequest lastRequest() const;  // an empty record if none arrived
    std::size_t requestCount() const;
    std::size_t connectionCount() const;  // distinct connections that carried at least one request
    std::size_t handshakesCompleted() const;

    // Ready-made handlers.
    static Handler respond(int status, std::string body, std::string contentType = "application/json");
    // Answers 200 "{}" after `delay` (or as soon as the fake shuts down).
    Handler stall(std::chrono::milliseconds delay);
    // Announces `fullBody`'s length, sends its first `bytesSent` bytes, then closes (with TLS close_notify).
    static Handler truncatedBody(std::string fullBody, std::size_t bytesSent);
    // Announces `declaredLength` bytes, sends `partialBody`, then resets the TCP connection.
    static Handler resetMidResponse(std::string partialBody, std::size_t declaredLength);
    // Streams `bytes` bytes of filler without ever holding them, announced by
    // Content-Length or, with announceLength false, chunked.
    static Handler hugeBody(std::size_t bytes, bool announceLength = true);

private:
    class Server;
    friend class Server;

    void serveConnection(int socket);
    void route(const httplib::Request& request, httplib::Response& response);

    std::unique_ptr<Server> server_;
    std::thread thread_;
    int port_ = 0;
    std::atomic<bool> stopping_{false};

    static constexpr std::size_t kKeepAliveMaxCount = 100;
    static constexpr std::chrono::milliseconds kKeepAliveTimeout{5000};
    std::atomic<bool> dropAfterEachResponse_{false};
    std::atomic<std::size_t> nextConnectionId_{0};
    std::atomic<std::size_t> handshakes_{0};

    mutable std::mutex mutex_;
    std::map<std::string, Handler> handlers_;  // by "METHOD path"
    std::vector<RecordedRequest> requests_;
};

}  // namespace tavi::test
