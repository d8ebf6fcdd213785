#include "linux/HostileServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <mutex>
#include <set>
#include <thread>

#include "platform/linux/files/PosixHandles.h"

namespace vellumix::linux_desktop {

struct HostileServer::State {
    Behaviour behaviour;
    posix::Descriptor listener;
    mutable std::mutex mutex;
    std::set<int> open;
    std::vector<std::string> requests;
    std::vector<std::thread> threads;
    bool isEnding = false;

    void accept() {
        while (true) {
            posix::Descriptor connection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            const std::lock_guard lock(mutex);
            if (!connection || isEnding) return;
            open.insert(connection.get());
            threads.emplace_back(
                [this, connection = std::move(connection)]() mutable { serve(std::move(connection)); });
        }
    }

    void serve(posix::Descriptor connection) {
        for (std::string rest; true;) {
            const auto request = read(connection.get(), rest);
            if (request.empty()) break;
            {
                const std::lock_guard lock(mutex);
                requests.push_back(request);
            }
            behaviour(request, Peer(connection.get()));
        }
        const std::lock_guard lock(mutex);
        open.erase(connection.get());
    }

    /// Up to the end of the body; empty when the other side has gone.
    static std::string read(int descriptor, std::string& rest) {
        char bytes[4096];
        while (true) {
            if (const auto headEnd = rest.find("\r\n\r\n"); headEnd != std::string::npos) {
                const auto field = rest.find("Content-Length: ");
                const auto length = field < headEnd ? std::stoul(rest.substr(field + 16)) : 0;
                if (rest.size() >= headEnd + 4 + length) {
                    const auto request = rest.substr(0, headEnd + 4 + length);
                    rest.erase(0, request.size());
                    return request;
                }
            }
            const auto count = ::recv(descriptor, bytes, sizeof bytes, 0);
            if (count <= 0) return {};
            rest.append(bytes, static_cast<std::size_t>(count));
        }
    }
};

HostileServer::HostileServer(Behaviour behaviour) : state(std::make_shared<State>()) {
    state->behaviour = std::move(behaviour);
    state->listener = posix::Descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(state->listener.get(), generic, size), 0);
    EXPECT_EQ(::listen(state->listener.get(), 16), 0);
    EXPECT_EQ(::getsockname(state->listener.get(), generic, &size), 0);
    port_ = ntohs(address.sin_port);
    std::thread accepting([state = state.get()] { state->accept(); });
    const std::lock_guard lock(state->mutex);
    state->threads.push_back(std::move(accepting));
}

HostileServer::~HostileServer() {
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(state->mutex);
        state->isEnding = true;
        ::shutdown(state->listener.get(), SHUT_RDWR);
        for (const int connection : state->open) ::shutdown(connection, SHUT_RDWR);
        threads.swap(state->threads);
    }
    for (auto& thread : threads) thread.join();
}

std::string HostileServer::address() const { return "http://127.0.0.1:" + std::to_string(port_); }

std::vector<std::string> HostileServer::requests() const {
    const std::lock_guard lock(state->mutex);
    return state->requests;
}

int HostileServer::openConnections() const {
    const std::lock_guard lock(state->mutex);
    return static_cast<int>(state->open.size());
}

bool HostileServer::Peer::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const auto count = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void HostileServer::Peer::hang() const {
    char byte = 0;
    while (::recv(descriptor, &byte, 1, 0) > 0) continue;
}

void HostileServer::Peer::drop() const { ::shutdown(descriptor, SHUT_RDWR); }

void HostileServer::Peer::reset() const {
    const linger none{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    drop();
}

std::string answer(std::string_view body, std::string_view status, std::string_view headers) {
    return "HTTP/1.1 " + std::string(status) + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
           std::string(headers) + "\r\n" + std::string(body);
}

}  // namespace vellumix::linux_desktop
