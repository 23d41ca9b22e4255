#include "FakeHttpsServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <set>
#include <stdexcept>

#include "TestCertificates.h"

namespace tavi::test {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// How long a blocked read or write may wait before the connection is given up,
// and how often waits look up to see whether the fake is shutting down.
constexpr auto kIoTimeout = 5s;
constexpr auto kPollStep = 20ms;

// Each open connection holds a worker for as long as it is kept alive, so this
// is how many clients may be connected at once before newcomers wait.
constexpr std::size_t kWorkers = 16;

// One accepted TLS connection, and what it has read for the request in hand.
struct Connection {
    int socket = -1;
    SSL* ssl = nullptr;
    std::size_t id = 0;
    std::string serverName;
    std::string received;
    bool resetOnClose = false;
};

// The connection whose request the current thread is serving, so that
// handlers and content providers (which httplib calls on that thread) can find
// it without a way to pass it through httplib.
thread_local Connection* currentConnection = nullptr;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// Waits for `events` on the socket in short steps, giving up after `limit` or
// when the fake starts shutting down.
bool waitFor(const Connection& connection, short events, Clock::duration limit, const std::atomic<bool>& stopping) {
    if ((events & POLLIN) && SSL_pending(connection.ssl) > 0) return true;
    const auto deadline = Clock::now() + limit;
    while (!stopping) {
        pollfd descriptor{connection.socket, events, 0};
        int ready = ::poll(&descriptor, 1, static_cast<int>(kPollStep.count()));
        if (ready > 0) return true;  // errors and hang-ups too: the next read or write reports them
        if (ready < 0 && errno != EINTR) return false;
        if (Clock::now() >= deadline) return false;
    }
    return false;
}

// httplib's parser and writer run over this stream, which records every byte
// it reads so the request can be kept exactly as it came.
class RecordingTlsStream final : public httplib::Stream {
public:
    RecordingTlsStream(Connection& connection, const std::atomic<bool>& stopping)
        : connection_(connection), stopping_(stopping) {}

    bool is_readable() const override { return waitFor(connection_, POLLIN, kIoTimeout, stopping_); }
    bool is_writable() const override { return waitFor(connection_, POLLOUT, kIoTimeout, stopping_); }

    ssize_t read(char* buffer, size_t size) override {
        if (!is_readable()) return -1;
        int n = SSL_read(connection_.ssl, buffer, static_cast<int>(std::min<size_t>(size, INT_MAX)));
        if (n <= 0) return -1;
        connection_.received.append(buffer, static_cast<size_t>(n));
        return n;
    }

    ssize_t write(const char* data, size_t size) override {
        if (!is_writable()) return -1;
        int n = SSL_write(connection_.ssl, data, static_cast<int>(std::min<size_t>(size, INT_MAX)));
        return n > 0 ? n : -1;
    }

    // Addresses are of no use to the fake's handlers.
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return connection_.socket; }

private:
    Connection& connection_;
    const std::atomic<bool>& stopping_;
};

std::string trimBlanks(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The header fields of a raw head, in arrival order and spelt as sent.
std::vector<HttpHeader> headerFields(const std::string& head) {
    std::vector<HttpHeader> fields;
    for (std::size_t start = head.find("\r\n"), end; start != std::string::npos; start = end) {
        start += 2;
        end = head.find("\r\n", start);
        const std::string line = head.substr(start, end == std::string::npos ? end : end - start);
        const auto colon = line.find(':');
        if (colon != std::string::npos) fields.push_back({line.substr(0, colon), trimBlanks(line.substr(colon + 1))});
    }
    return fields;
}

}  // namespace

std::string RecordedRequest::header(std::string_view name) const {
    for (const auto& h : headers) {
        if (equalsIgnoringCase(h.name, name)) return h.value;
    }
    return {};
}

std::size_t RecordedRequest::headerCount(std::string_view name) const {
    return static_cast<std::size_t>(
        std::count_if(headers.begin(), headers.end(), [&](const HttpHeader& h) { return equalsIgnoringCase(h.name, name); }));
}

// httplib's server with the per-connection loop replaced by the fake's own.
class FakeHttpsServer::Server final : public httplib::SSLServer {
public:
    Server(FakeHttpsServer& owner, const std::string& certPath, const std::string& keyPath)
        : httplib::SSLServer(certPath.c_str(), keyPath.c_str()), owner_(owner) {}

    bool serveOne(httplib::Stream& stream, bool closeAfterwards, bool& clientAskedToClose) {
        static const std::function<void(httplib::Request&)> noSetup = [](httplib::Request&) {};
        return process_request(stream, closeAfterwards, clientAskedToClose, noSetup);
    }

private:
    bool process_and_close_socket(socket_t socket) override {
        owner_.serveConnection(socket);
        return true;
    }

    FakeHttpsServer& owner_;
};

FakeHttpsServer::FakeHttpsServer(Certificate certificate) {
    // A client that hangs up mid-response must not kill the test process
    // through SIGPIPE when OpenSSL writes to the socket.
    std::signal(SIGPIPE, SIG_IGN);
    const auto& certificates = TestCertificates::instance();
    const bool trusted = certificate == Certificate::trusted;
    server_ = std::make_unique<Server>(*this, trusted ? certificates.certPath() : certificates.untrustedCertPath(),
                                       trusted ? certificates.keyPath() : certificates.untrustedKeyPath());
    if (!server_->is_valid()) throw std::runtime_error("FakeHttpsServer: the TLS context could not be set up");

    server_->new_task_queue = [] { return new httplib::ThreadPool(kWorkers); };

    const auto all = [this](const httplib::Request& request, httplib::Response& response) { route(request, response); };
    server_->Get(".*", all).Post(".*", all).Put(".*", all).Patch(".*", all).Delete(".*", all).Options(".*", all);

    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("FakeHttpsServer: could not bind 127.0.0.1");
    thread_ = std::thread([this] { server_->listen_after_bind(); });

    // stop() is a no-op until the accept loop runs, so the destructor must not
    // be able to overtake it.
    const auto deadline = Clock::now() + 5s;
    while (!server_->is_running() && Clock::now() < deadline) std::this_thread::sleep_for(1ms);
    if (!server_->is_running()) {
        server_->stop();
        thread_.detach();
        throw std::runtime_error("FakeHttpsServer: the accept loop did not start");
    }
}

FakeHttpsServer::~FakeHttpsServer() {
    stopping_ = true;
    server_->stop();
    if (thread_.joinable()) thread_.join();
}

std::string FakeHttpsServer::connectTo(std::string_view host) const {
    return std::string(host) + ":443:127.0.0.1:" + std::to_string(port_);
}

void FakeHttpsServer::on(std::string method, std::string path, Handler handler) {
    std::lock_guard lock(mutex_);
    handlers_[method + " " + path] = std::move(handler);
}

void FakeHttpsServer::setDropConnectionAfterEachResponse(bool drop) { dropAfterEachResponse_ = drop; }

RecordedRequest FakeHttpsServer::lastRequest() const {
    std::lock_guard lock(mutex_);
    return requests_.empty() ? RecordedRequest{} : requests_.back();
}

std::size_t FakeHttpsServer::requestCount() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

std::size_t FakeHttpsServer::connectionCount() const {
    std::lock_guard lock(mutex_);
    std::set<std::size_t> ids;
    for (const auto& request : requests_) ids.insert(request.connectionId);
    return ids.size();
}

std::size_t FakeHttpsServer::handshakesCompleted() const { return handshakes_; }

void FakeHttpsServer::serveConnection(int socket) {
    const timeval ioTimeout{static_cast<time_t>(std::chrono::seconds(kIoTimeout).count()), 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &ioTimeout, sizeof ioTimeout);
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &ioTimeout, sizeof ioTimeout);
    // httplib writes a response's head and body separately; without this,
    // Nagle and the client's delayed ACK add 40 ms to every request.
    const int noDelay = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);

    Connection connection;
    connection.socket = socket;
    connection.id = ++nextConnectionId_;
    connection.ssl = SSL_new(server_->ssl_context());
    bool handshaken = false;
    if (connection.ssl != nullptr && SSL_set_fd(connection.ssl, socket) == 1) {
        handshaken = SSL_accept(connection.ssl) == 1;
    }

    if (handshaken) {
        ++handshakes_;
        if (const char* name = SSL_get_servername(connection.ssl, TLSEXT_NAMETYPE_host_name)) {
            connection.serverName = name;
        }
        RecordingTlsStream stream(connection, stopping_);
        for (std::size_t served = 0;;) {
            if (!waitFor(connection, POLLIN, kKeepAliveTimeout, stopping_)) break;
            connection.received.clear();
            const bool last = ++served >= kKeepAliveMaxCount || stopping_;
            bool clientAskedToClose = false;
            currentConnection = &connection;
            const bool ok = server_->serveOne(stream, last, clientAskedToClose);
            currentConnection = nullptr;
            if (!ok || last || clientAskedToClose || connection.resetOnClose || dropAfterEachResponse_) break;
        }
    }

    if (connection.resetOnClose) {
        const linger abortive{1, 0};  // close() then sends RST instead of FIN
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
    } else if (handshaken) {
        SSL_shutdown(connection.ssl);
    }
    SSL_free(connection.ssl);
    ::close(socket);
}

void FakeHttpsServer::route(const httplib::Request& request, httplib::Response& response) {
    RecordedRequest recorded;
    recorded.method = request.method;
    recorded.target = request.target;  // as sent: httplib decodes only the path
    if (Connection* connection = currentConnection) {
        const auto headEnd = connection->received.find("\r\n\r\n");
        recorded.head = connection->received.substr(0, headEnd == std::string::npos ? headEnd : headEnd + 4);
        recorded.headers = headerFields(recorded.head);
        recorded.connectionId = connection->id;
        recorded.serverName = connection->serverName;
    }
    const auto question = recorded.target.find('?');
    recorded.path = recorded.target.substr(0, question);
    if (question != std::string::npos) recorded.query = recorded.target.substr(question + 1);
    recorded.body = request.body;

    Handler handler;
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(recorded);
        auto found = handlers_.find(recorded.method + " " + recorded.path);
        if (found != handlers_.end()) handler = found->second;
    }
    if (handler) {
        handler(recorded, response);
    } else {
        response.status = 404;
    }
}

FakeHttpsServer::Handler FakeHttpsServer::respond(int status, std::string body, std::string contentType) {
    return [status, body = std::move(body), contentType = std::move(contentType)](const RecordedRequest&,
                                                                                   httplib::Response& response) {
        response.status = status;
        response.set_content(body, contentType.c_str());
    };
}

FakeHttpsServer::Handler FakeHttpsServer::stall(std::chrono::milliseconds delay) {
    return [this, delay](const RecordedRequest&, httplib::Response& response) {
        const auto deadline = Clock::now() + delay;
        while (!stopping_ && Clock::now() < deadline) std::this_thread::sleep_for(5ms);
        response.set_content("{}", "application/json");
    };
}

FakeHttpsServer::Handler FakeHttpsServer::truncatedBody(std::string fullBody, std::size_t bytesSent) {
    return [fullBody = std::move(fullBody), bytesSent](const RecordedRequest&, httplib::Response& response) {
        response.status = 200;
        response.set_content_provider(fullBody.size(), "application/json",
                                      [fullBody, bytesSent](size_t, size_t, httplib::DataSink& sink) {
                                          sink.write(fullBody.data(), std::min(bytesSent, fullBody.size()));
                                          return false;  // httplib then closes the connection
                                      });
    };
}

FakeHttpsServer::Handler FakeHttpsServer::resetMidResponse(std::string partialBody, std::size_t declaredLength) {
    return [partialBody = std::move(partialBody), declaredLength](const RecordedRequest&, httplib::Response& response) {
        response.status = 200;
        response.set_content_provider(declaredLength, "application/json",
                                      [partialBody](size_t, size_t, httplib::DataSink& sink) {
                                          sink.write(partialBody.data(), partialBody.size());
                                          if (currentConnection != nullptr) currentConnection->resetOnClose = true;
                                          return false;
                                      });
    };
}

FakeHttpsServer::Handler FakeHttpsServer::hugeBody(std::size_t bytes, bool announceLength) {
    return [bytes, announceLength](const RecordedRequest&, httplib::Response& response) {
        static const std::string filler(64 * 1024, 'x');
        response.status = 200;
        if (announceLength) {
            response.set_content_provider(bytes, "application/octet-stream",
                                          [](size_t, size_t remaining, httplib::DataSink& sink) {
                                              return sink.write(filler.data(), std::min(remaining, filler.size()));
                                          });
        } else {
            response.set_chunked_content_provider("application/octet-stream",
                                                  [bytes](size_t offset, httplib::DataSink& sink) {
                                                      if (offset >= bytes) {
                                                          sink.done();
                                                          return true;
                                                      }
                                                      return sink.write(filler.data(),
                                                                        std::min(bytes - offset, filler.size()));
                                                  });
        }
    };
}

}  // namespace tavi::test
