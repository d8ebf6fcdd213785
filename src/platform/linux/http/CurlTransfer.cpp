#include "platform/linux/http/CurlTransfer.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/foundation/bytes/Base64.h"

namespace vellumix::linux_desktop {

namespace {

constexpr std::size_t pieceSize = std::size_t{64} << 10;
/// All heads of one transfer, those of redirects and trailers among them.
constexpr std::size_t largestHeads = std::size_t{256} << 10;
constexpr int mostRedirections = 5;
/// What must come within the time-out to count as progress: a server that sends a byte a minute hangs too.
constexpr std::size_t progress = std::size_t{16} << 10;
// The verdicts of OpenSSL on a certificate's chain (X509_V_ERR_...), which libcurl hands on as numbers. It
// asks for the last of them when the name is right, and leaves what it began with when the name is wrong.
constexpr long chainIsFine = 0, chainWasNotAskedFor = 1, notYetValid = 9, hasExpired = 10;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

bool isHeaderText(std::string_view text) {
    return std::ranges::none_of(text, [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

/// A header of our own, as the library would keep the password with its connections. All of this lies on the
/// heap, where it is wiped.
std::string authorization(const URLCredential& credential) {
    Bytes pair = bytesOf(viewOf(credential.user + ":"));
    append(pair, viewOf(credential.password->view()));
    return "Authorization: Basic " + base64::encode(pair);
}

bool isLoopback(const sockaddr& address) {
    if (address.sa_family == AF_INET)
        return ntohl(reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr) >> 24 == 127;
    return address.sa_family == AF_INET6 &&
           IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
}

}  // namespace

CurlTransfer::CurlTransfer(GLibRunLoop& runLoop, std::shared_ptr<CurlMulti> multi, const CurlLibrary& curl,
                           NSURLRequest request, WebAddress address, NSURLSession::Handlers handlers,
                           const std::string& certificates)
    : runLoop(runLoop),
      multi(std::move(multi)),
      curl(curl),
      request(std::move(request)),
      address(std::move(address)),
      handlers(std::make_shared<const NSURLSession::Handlers>(std::move(handlers))),
      easy(curl.easyInit()) {
    if (!easy) {
        end(URLError::unavailable);
    } else if (prepare(certificates); !prepareHeaders()) {
        end(URLError::notAllowed);
    } else {
        begin();
    }
}

CurlTransfer::~CurlTransfer() {
    if (easy) multi->remove(easy.get());
}

void CurlTransfer::prepare(const std::string& certificates) {
    // Certificates and names are checked unless somebody says otherwise, and nobody does.
    if (!certificates.empty()) set(CURLOPT_CAINFO, certificates.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    // The transfers are few and follow each other, and one that is suspended holds back its server by TCP
    // alone: nothing for which HTTP/2 would be better.
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    // The proxies that the environment names are passed by: whoever sets a variable would else be told when
    // this person's machine is on and whom it asks, and a server at home isn't behind a proxy.
    set(CURLOPT_PROXY, "");
    set(CURLOPT_NOSIGNAL, 1L);
#if LIBCURL_VERSION_NUM >= 0x075700
    // A look-up that hangs is left to its thread; the library would wait for it here.
    set(CURLOPT_QUICK_EXIT, 1L);
#endif
    set(CURLOPT_BUFFERSIZE, static_cast<long>(pieceSize));
    set(CURLOPT_CONNECTTIMEOUT_MS, std::max(static_cast<long>(request.connectTimeout * 1000), 1L));
    set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(std::max<std::uint64_t>(request.largestBody, 1)));
    set(CURLOPT_HEADERFUNCTION, onHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, onBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_OPENSOCKETFUNCTION, openSocket);
    set(CURLOPT_OPENSOCKETDATA, this);
    prepareMethod();
}

void CurlTransfer::prepareMethod() {
    const auto& method = request.HTTPMethod;
    if (method == "GET") return;
    if (method == "HEAD") return set(CURLOPT_NOBODY, 1L);
    if (method != "DELETE" || !request.HTTPBody.empty()) {
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.HTTPBody.size()));
        set(CURLOPT_POSTFIELDS,
            request.HTTPBody.empty() ? "" : reinterpret_cast<const char*>(request.HTTPBody.view().data()));
    }
    set(CURLOPT_CUSTOMREQUEST, method.c_str());
}

bool CurlTransfer::prepareHeaders() {
    const auto append = [this](const std::string& line) {
        auto* const longer = curl.slistAppend(headers.get(), line.c_str());
        if (!longer) return;
        static_cast<void>(headers.release());
        headers.reset(longer);
    };
    // What the library would add by itself: neither type is right for what is sent, and the wait for a word
    // to go on costs a round trip.
    append("Expect:");
    const auto isType = [](const auto& header) { return asciiLowercased(header.first) == "content-type"; };
    if (std::ranges::none_of(request.headers, isType)) append("Content-Type:");
    if (const auto& credential = request.credential) {
        if (credential->user.find(':') != std::string::npos) return false;
        append(authorization(*credential));
    }
    for (const auto& [name, value] : request.headers) {
        if (!isHeaderText(name) || !isHeaderText(value)) return false;
        // Without a value the library takes the colon for "leave it out".
        append(value.empty() ? name + ";" : name + ": " + value);
    }
    set(CURLOPT_HTTPHEADER, headers.get());
    return true;
}

void CurlTransfer::begin() {
    response = {};
    isHeadWhole = false;
    bodySize = 0;
    stretchBegin = runLoop.uptime();
    stretchBytes = 0;
    set(CURLOPT_URL, address.text().c_str());
    multi->add(easy.get(), [this](CURLcode code) { done(code); });
    checkProgress();
}

void CurlTransfer::resume() {
    if (!std::exchange(isSuspended, false)) return;
    stretchBegin = runLoop.uptime();
    stretchBytes = 0;
    if (!hasEnded) checkProgress();
    schedule();
}

std::size_t CurlTransfer::onHeader(char* bytes, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const auto length = size * count;
    transfer.count(length);
    transfer.headSize += length;
    if (transfer.headSize > largestHeads) {
        transfer.refusal = URLError::dataLengthExceedsMaximum;
        return 0;
    }
    transfer.takeHeader({bytes, length});
    return transfer.refusal ? 0 : length;
}

void CurlTransfer::takeHeader(std::string_view line) {
    // Behind the body come trailers, of which nobody knows anything.
    if (isHeadWhole) return;
    if (line.starts_with("HTTP/")) return response.headers.clear();
    const auto text = trimmed(line);
    if (text.empty()) return endHead();
    const auto colon = text.find(':');
    // A line that begins with a blank goes on with the one before (obsolete by RFC 9112 section 5.2).
    if (colon == std::string_view::npos || line.front() == ' ' || line.front() == '\t') return;
    response.headers.emplace_back(asciiLowercased(text.substr(0, colon)), trimmed(text.substr(colon + 1)));
}

void CurlTransfer::endHead() {
    const auto status = info<long>(CURLINFO_RESPONSE_CODE);
    // "Go on", and hints.
    if (status < 200) return;
    response.statusCode = static_cast<int>(status);
    isHeadWhole = true;
    constexpr std::array statuses{301, 302, 303, 307, 308};
    const auto location = response.value("location");
    if (location && std::ranges::find(statuses, status) != statuses.end()) {
        redirection = std::string(*location);
        // What isn't a question isn't put again, unless the server asks for just that (RFC 9110
        // section 15.4).
        const bool isQuestion = request.HTTPMethod == "GET" || request.HTTPMethod == "HEAD";
        if (!isQuestion && status != 307 && status != 308) refusal = URLError::redirectRefused;
        return;
    }
    schedule();
}

std::size_t CurlTransfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const auto length = size * count;
    if (transfer.redirection) {
        transfer.count(length);
        return (transfer.bodySize += length) > transfer.request.largestBody ? 0 : length;
    }
    if (transfer.piece.size() + length > pieceSize) {
        transfer.isPaused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    transfer.count(length);
    transfer.bodySize += length;
    if (transfer.bodySize > transfer.request.largestBody) {
        transfer.refusal = URLError::dataLengthExceedsMaximum;
        return 0;
    }
    append(transfer.piece, viewOf({bytes, length}));
    transfer.schedule();
    return length;
}

curl_socket_t CurlTransfer::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    // "localhost" may have been given any address by whoever answers to names.
    if (!transfer.address.isEncrypted && !isLoopback(address->addr)) {
        transfer.refusal = URLError::notAllowed;
        return CURL_SOCKET_BAD;
    }
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

void CurlTransfer::count(std::size_t bytes) {
    if ((stretchBytes += bytes) < progress) return;
    stretchBegin = runLoop.uptime();
    stretchBytes = 0;
}

void CurlTransfer::checkProgress() {
    progressTimer.reset();
    if (isSuspended) return;
    // Until the connection stands, the library's own deadline holds.
    const auto connecting = info<curl_off_t>(CURLINFO_PRETRANSFER_TIME_T);
    if (connecting == 0 && response.headers.empty()) stretchBegin = runLoop.uptime();
    const auto rest = stretchBegin + request.timeoutInterval - runLoop.uptime();
    if (rest <= 0) return end(URLError::timedOut);
    progressTimer = runLoop.oneShotTimer(rest, [this] { checkProgress(); });
}

void CurlTransfer::done(CURLcode code) {
    if (refusal) return end(refusal);
    if (code != CURLE_OK) return end(errorOf(code));
    if (redirection) return follow();
    end(isHeadWhole ? std::nullopt : std::optional(URLError::connectionLost));
}

void CurlTransfer::follow() {
    const curl::Address place(curl.url());
    curl::Text text;
    char* raw = nullptr;
    const auto setPart = [&](const std::string& part) {
        return curl.urlSet(place.get(), CURLUPART_URL, part.c_str(), 0) == CURLUE_OK;
    };
    if (setPart(address.text()) && setPart(*redirection) &&
        curl.urlGet(place.get(), CURLUPART_URL, &raw, 0) == CURLUE_OK)
        text.reset(raw);
    auto next = text ? WebAddress::parse(text.get()) : std::nullopt;
    if (!next || !next->hasOriginOf(address) || ++redirections > mostRedirections)
        return end(URLError::redirectRefused);
    address = *std::move(next);
    redirection.reset();
    begin();
}

URLError CurlTransfer::errorOf(CURLcode code) const {
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
            return URLError::cannotFindHost;
        case CURLE_COULDNT_CONNECT:
            return URLError::cannotConnectToHost;
        case CURLE_OPERATION_TIMEDOUT:
            return URLError::timedOut;
        case CURLE_PEER_FAILED_VERIFICATION:
            switch (info<long>(CURLINFO_SSL_VERIFYRESULT)) {
                case chainIsFine:
                case chainWasNotAskedFor:
                    return URLError::certificateForOtherHost;
                case notYetValid:
                case hasExpired:
                    return URLError::certificateExpired;
                default:
                    return URLError::certificateUntrusted;
            }
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ENGINE_INITFAILED:
            return URLError::secureConnectionFailed;
        case CURLE_FILESIZE_EXCEEDED:
        case CURLE_WRITE_ERROR:
        // Said of a line of the head, too, that has no end.
        case CURLE_OUT_OF_MEMORY:
            return URLError::dataLengthExceedsMaximum;
        case CURLE_FAILED_INIT:
            return URLError::unavailable;
        default:
            return URLError::connectionLost;
    }
}

void CurlTransfer::end(std::optional<URLError> error) {
    this->error = error;
    hasEnded = true;
    progressTimer.reset();
    if (easy) multi->remove(easy.get());
    // With the library's copy of the password.
    easy.reset();
    schedule();
}

void CurlTransfer::schedule() {
    if (isSuspended || std::exchange(isScheduled, true)) return;
    runLoop.postBehind(lifetime.weakly([this] { deliver(); }));
}

void CurlTransfer::deliver() {
    isScheduled = false;
    if (isSuspended) return;
    const auto alive = lifetime.watch();
    const auto handlers = this->handlers;
    if (isHeadWhole && !redirection && !std::exchange(isHeadTold, true) && handlers->onResponse) {
        handlers->onResponse(response);
        if (alive.expired() || isSuspended) return;
    }
    if (!piece.empty()) {
        const auto taken = std::exchange(piece, {});
        if (handlers->onData) handlers->onData(taken);
        if (alive.expired() || isSuspended) return;
    } else if (hasEnded) {
        if (handlers->onEnd) handlers->onEnd(error);
        return;
    }
    if (std::exchange(isPaused, false) && !hasEnded) multi->goOn(easy.get());
    if (!piece.empty() || hasEnded) schedule();
}

}  // namespace vellumix::linux_desktop
