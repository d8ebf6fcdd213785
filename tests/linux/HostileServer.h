#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vellumix::linux_desktop {

/// A server on loopback that answers each request as a test says, each connection on a thread of its own.
class HostileServer {
public:
    /// The server's end of a connection.
    class Peer {
    public:
        explicit Peer(int descriptor) : descriptor(descriptor) {}
        /// False once the other side has gone.
        bool send(std::string_view bytes) const;
        /// Returns when the other side has gone or the server ends.
        void hang() const;
        /// No word more.
        void drop() const;
        /// As `drop`, and the other side hears of it as an error.
        void reset() const;

    private:
        int descriptor;
    };
    /// Gets the whole request. The connection stays for the next one unless it is dropped.
    using Behaviour = std::function<void(const std::string& request, const Peer& peer)>;

    explicit HostileServer(Behaviour behaviour);
    ~HostileServer();

    /// Without a slash at its end.
    std::string address() const;
    int port() const { return port_; }
    std::vector<std::string> requests() const;
    int openConnections() const;

private:
    struct State;
    std::shared_ptr<State> state;
    int port_ = 0;
};

/// A whole answer, with its length.
std::string answer(std::string_view body, std::string_view status = "200 OK", std::string_view headers = {});

}  // namespace vellumix::linux_desktop
