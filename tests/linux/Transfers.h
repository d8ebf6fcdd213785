#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "linux/HostileServer.h"
#include "linux/TestProcess.h"
#include "platform/linux/http/CurlSession.h"

namespace vellumix::linux_desktop {

/// Certificates of the test's own, made by openssl.
class Certificates {
public:
    Certificates();

    /// Of the authority that signed the others but for "stranger".
    std::string authority() const { return file("authority.pem"); }
    std::string file(const std::string& name) const { return folder.path() + "/" + name; }
    /// A server behind TLS with the certificate "good", "expired", "other-host" or "stranger".
    class Server {
    public:
        Server(const Certificates& certificates, const std::string& name);
        std::string address() const { return "https://127.0.0.1:" + port; }

    private:
        TestProcess process;
        std::string port;
    };

private:
    TemporaryFolder folder;
};

}  // namespace vellumix::linux_desktop
