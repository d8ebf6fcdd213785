#include "linux/Transfers.h"

#include <fstream>

namespace vellumix::linux_desktop {

namespace {

void openssl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "openssl");
    EXPECT_EQ(TestProcess(arguments).wait(), 0) << arguments[1];
}

}  // namespace

Certificates::Certificates() {
    const auto request = [this](const std::string& name, const std::string& subject,
                                std::vector<std::string> more) {
        std::vector<std::string> arguments{
            "req",     "-newkey",           "ec",    "-pkeyopt",      "ec_paramgen_curve:P-256", "-nodes",
            "-keyout", file(name + ".key"), "-subj", "/CN=" + subject};
        arguments.insert(arguments.end(), more.begin(), more.end());
        openssl(arguments);
    };
    request("authority", "Vellumix test authority", {"-x509", "-out", file("authority.pem")});
    const auto signedOne = [&](const std::string& name, const std::string& host, const std::string& days) {
        request(name, host, {"-out", file(name + ".request")});
        const auto extensions = file(name + ".extensions");
        std::ofstream(extensions) << "subjectAltName=" << host << "\n";
        openssl({"x509", "-req", "-in", file(name + ".request"), "-CA", authority(), "-CAkey",
                 file("authority.key"), "-CAcreateserial", "-days", days, "-extfile", extensions, "-out",
                 file(name + ".pem")});
    };
    signedOne("good", "IP:127.0.0.1", "1");
    signedOne("expired", "IP:127.0.0.1", "-1");
    signedOne("other-host", "DNS:elsewhere.example", "1");
    request("stranger", "127.0.0.1",
            {"-x509", "-addext", "subjectAltName=IP:127.0.0.1", "-out", file("stranger.pem")});
}

Certificates::Server::Server(const Certificates& certificates, const std::string& name)
    : process({"openssl", "s_server", "-www", "-accept", "127.0.0.1:0", "-cert",
               certificates.file(name + ".pem"), "-key", certificates.file(name + ".key")}) {
    for (std::string line = process.readLine(); !line.empty() && port.empty(); line = process.readLine()) {
        if (line.starts_with("ACCEPT ")) {
            port = line.substr(line.rfind(':') + 1);
            break;
        }
    }
    EXPECT_NE(port, "") << "openssl doesn't serve";
}

}  // namespace vellumix::linux_desktop
