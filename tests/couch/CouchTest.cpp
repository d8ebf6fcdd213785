// The transport of the cloud, and the page that tells how to use it, against a real server of the protocol.

#include "linux/CloudRig.h"
#include "platform/foundation/cipher/UUID.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix::linux_desktop {
namespace {

bool isInstalled() {
    TestProcess install({SERVER_FOLDER "/install", INSTALL_FOLDER});
    std::string said;
    for (std::string line = install.readLine(); !line.empty(); line = install.readLine()) said += line + "\n";
    return install.wait() == 0 || (ADD_FAILURE() << said, false);
}

/// Keeps its data in a folder of the test's.
class Server {
public:
    explicit Server(const std::string& folder, const std::string& port = "0")
        : process({"env", "-C", INSTALL_FOLDER, "node", "--unhandled-rejections=warn",
                   SERVER_FOLDER "/server.js", folder, port}) {
        const auto line = process.readLine();
        this->port = line.substr(line.rfind(' ') + 1);
        EXPECT_TRUE(line.starts_with("port ")) << "the server doesn't start";
    }
    std::string name() const { return "127.0.0.1:" + port; }
    std::string address() const { return "http://" + name(); }

    std::string port;

private:
    TestProcess process;
};

class CouchTest : public testing::Test, protected CloudRig {
protected:
    void SetUp() override { ASSERT_TRUE(isInstalled()); }

    /// What another program would send.
    std::string put(const std::string& url, const std::string& body, const std::string& user = "boss",
                    const std::string& method = "PUT", const std::string& type = "application/json") {
        std::string got;
        int status = 0;
        bool hasEnded = false;
        NSURLRequest request{
            .url = *URL::parse(url), .HTTPMethod = method, .headers = {{"Content-Type", type}}};
        request.HTTPBody = Data(std::string_view(body));
        if (!user.empty())
            request.credential = {user, std::make_shared<SecretText>(user == "boss" ? "root" : "pw")};
        const auto task =
            session.start(request, {.onResponse = [&](const auto& head) { status = head.statusCode; },
                                    .onData = [&](ByteView piece) { got += asText(piece); },
                                    .onEnd =
                                        [&](auto error) {
                                            hasEnded = true;
                                            EXPECT_FALSE(error);
                                        }});
        serveUntil([&] { return hasEnded; });
        EXPECT_EQ(status / 100, 2) << method << " " << url << ": " << got;
        return got;
    }
    static std::string revisionIn(const std::string& answer) {
        const auto begin = answer.find("\"rev\":\"") + 7;
        return answer.substr(begin, answer.find('"', begin) - begin);
    }
    std::string dataFolder() const {
        const auto path = folder.path() + "/data";
        std::filesystem::create_directory(path);
        return path;
    }
};

TEST_F(CouchTest, ARealServerGivesWhatWasPutThere) {
    auto server = std::make_unique<Server>(dataFolder());
    const auto base = server->address();
    const auto history = base + "/clipboardhistory";
    put(base + "/_config/admins/boss", "\"root\"", "");
    for (const std::string name : {"ann", "eve"})
        put(base + "/_users/org.couchdb.user:" + name,
            R"({"name":")" + name + R"(","password":"pw","roles":[],"type":"user"})");

    account = accountAt(base, "boss", "root");
    EXPECT_EQ(fetch().error, localized("cloud.noDatabase", server->name()));
    EXPECT_EQ(check(std::get<CouchAccount>(account)),
              "good: " + localized("cloud.accountIsNew", server->name()));
    EXPECT_EQ(saveZone(), "");
    EXPECT_EQ(saveZone(), "15");
    put(history + "/_security",
        R"({"admins":{"names":[],"roles":[]},"members":{"names":["ann"],"roles":[]}})");
    for (const auto& [user, password, key] :
         {std::tuple("eve", "pw", "cloud.noRight"), std::tuple("ann", "no", "cloud.wrongPassword"),
          std::tuple("", "", "cloud.noRight")}) {
        account = accountAt(base, user, password);
        EXPECT_EQ(status(), localized(key, server->name())) << user;
        EXPECT_EQ(saveZone(), localized("cloud.noRight", server->name())) << user;
    }
    account = accountAt(base);
    EXPECT_EQ(status(), "available");
    EXPECT_EQ(check(std::get<CouchAccount>(account)),
              "good: " + localized("cloud.accountIsRight", server->name()));
    EXPECT_EQ(saveZone(), "15");
    EXPECT_EQ(saveSubscription(), "");
    EXPECT_EQ(saveSubscription(), "15");
    const auto nothing = fetch();
    EXPECT_EQ(nothing.error, "");
    EXPECT_TRUE(nothing.records.empty() && nothing.deleted.empty() && nothing.token);

    std::string picture;
    for (unsigned number = 1; picture.size() < 20U << 20; number = number * 1664525 + 1013904223)
        picture += std::to_string(number);
    put(history + "/text", R"({"kind":"text","createdAt":"2026-11-23T10:00:00Z","pinned":1,"text":"Zoë \/"})",
        "ann");
    const auto image = put(history + "/a%20b%2Fc", R"({"kind":"image"})", "ann");
    put(history + "/a%20b%2Fc/imageData?rev=" + revisionIn(image), picture, "ann", "PUT", "image/png");
    const auto old = put(history + "/old", R"({"kind":"text"})", "ann");
    put(history + "/old?rev=" + revisionIn(old), "", "ann", "DELETE");
    put(history + "/_design/view", R"({"views":{}})");
    const auto first = fetch(nothing.token);
    EXPECT_EQ(first.error, "");
    ASSERT_EQ(first.records.size(), 2U);
    ASSERT_TRUE(first.record("text") && first.record("a b/c"));
    EXPECT_EQ(*first.record("text")->value<std::string>("text"), "Zoë /");
    EXPECT_EQ(first.record("text")->value<Date>("createdAt")->iso8601(), "2026-11-23T10:00:00Z");
    EXPECT_TRUE(contentOf(*first.record("a b/c")->value<CKAsset>("imageData")) == picture);
    EXPECT_EQ(first.deleted, std::vector<std::string>{"old"});
    EXPECT_TRUE(fetch(first.token).records.empty());

    std::string many = R"({"docs":[)";
    for (int number = 0; number < 1200; ++number)
        many += (number ? "," : "") + std::string(R"({"_id":"n)") + std::to_string(number) +
                R"(","kind":"text"})";
    put(history + "/_bulk_docs", many + "]}", "ann", "POST");
    const auto second = fetch(first.token);
    EXPECT_EQ(second.error, "");
    EXPECT_EQ(second.records.size(), 1200U);

    const auto port = server->port;
    server.reset();
    const auto down = fetch(second.token);
    EXPECT_EQ(down.error, localized("cloud.connectionRefused", "127.0.0.1:" + port));
    EXPECT_TRUE(down.toldNothing());
    server = std::make_unique<Server>(dataFolder(), port);
    put(history + "/late", R"({"kind":"link"})", "ann");
    const auto third = fetch(second.token);
    EXPECT_EQ(third.error, "");
    ASSERT_EQ(third.records.size(), 1U);
    EXPECT_EQ(third.records[0].recordID.recordName, "late");
    for (const auto& line : log.lines) ADD_FAILURE() << line;
}

/// The commands of the page, in its order, block by block.
std::vector<std::string> commandsOfPage() {
    std::vector<std::string> blocks;
    std::ifstream page(CLOUD_PAGE);
    bool isInBlock = false;
    for (std::string line; std::getline(page, line);) {
        if (line == "```sh") {
            isInBlock = true;
            blocks.emplace_back();
        } else if (line == "```") {
            isInBlock = false;
        } else if (isInBlock) {
            blocks.back() += line + "\n";
        }
    }
    return blocks;
}

TEST_F(CouchTest, TheCommandsOfThePageWork) {
    const auto blocks = commandsOfPage();
    ASSERT_EQ(blocks.size(), 7U) << "the server is started behind the second";
    const auto path = [this](const std::string& name) { return folder.path() + "/" + name; };
    std::ofstream(path("picture.png")) << std::string(400'000, 'p');
    // The folders of certificates are copies that only this script sees, and so it may be its own superuser.
    std::string script = "set -euo pipefail\ncd " + folder.path() + "\nexport HOME=$PWD HOST=localhost\n" +
                         R"(
for place in /etc/ssl/certs /usr/local/share/ca-certificates; do
    copy=$PWD/copy$place
    mkdir -p "$copy" "$place"
    cp -a "$place/." "$copy"
    mount --bind "$copy" "$place"
done
sudo() { "$@"; }
)" + blocks[0] + blocks[1] +
                         R"(
coproc SERVER { exec env -C )" +
                         INSTALL_FOLDER + " node --unhandled-rejections=warn " + SERVER_FOLDER +
                         "/server.js " + dataFolder() + R"( 0 "$PWD/server.key" "$PWD/server.pem"; }
trap 'kill $SERVER_PID' EXIT
read -r _ port <&"${SERVER[0]}"
ADDRESS=https://localhost:$port
curl -sS --cacert authority.pem -X PUT "$ADDRESS/_config/admins/admin" -d '"root"'
! curl -sS "$ADDRESS" || exit 9
)";
    for (std::size_t block = 2; block < blocks.size(); ++block) script += blocks[block];
    std::ofstream(path("script")) << script;
    TestProcess bash({"unshare", ::geteuid() == 0 ? "-m" : "-rm", "bash", "-c",
                      "exec bash " + path("script") + " >" + path("said") + " 2>&1"},
                     "root\npw\n");
    const int status = bash.wait();
    std::ifstream said(path("said"));
    ASSERT_EQ(status, 0) << std::string(std::istreambuf_iterator<char>(said), {});

    const Server server(dataFolder());
    account = accountAt(server.address());
    const auto result = fetch();
    EXPECT_EQ(result.error, "");
    ASSERT_EQ(result.records.size(), 2U);
    const bool isTextFirst = result.records[0].value<std::string>("text");
    EXPECT_EQ(*result.records[isTextFirst ? 0 : 1].value<std::string>("text"), "Hello from the server");
    EXPECT_EQ(contentOf(*result.records[isTextFirst ? 1 : 0].value<CKAsset>("imageData")),
              std::string(400'000, 'p'));
    for (const auto& record : result.records) {
        EXPECT_TRUE(record.value<Date>("createdAt"));
        EXPECT_TRUE(UUID::parse(record.recordID.recordName));
    }
}

}  // namespace
}  // namespace vellumix::linux_desktop
