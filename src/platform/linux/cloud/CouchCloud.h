#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/CloudAccount.h"
#include "platform/linux/cloud/CouchDatabase.h"

namespace vellumix::linux_desktop {

/// The cloud of a person whose stored account is on a server that speaks the CouchDB protocol. The account
/// names the place, so that every identifier stands for the same container.
class CouchCloud final : public CloudServices {
public:
    /// All must outlive it. Attachments lie in `assetFolder` while they are needed.
    CouchCloud(RunLoop& runLoop, NSURLSession& session, FileSystem& files, std::string assetFolder);

    /// At the start of the one process that fetches.
    void removeLeftovers() { container.removeLeftovers(); }

    bool isCodeValid() const override;
    bool canReach(std::string_view address) const override;
    void checkAccount(AccountVerdict completion) override;
    void accountDidChange() override { known.reset(); }
    CKContainer& containerWithIdentifier(std::string_view) override { return container; }

private:
    std::variant<std::monostate, CouchAccount, CKError> account();

    RunLoop& runLoop;
    NSURLSession& session;
    /// Read from the keychain once for all requests.
    struct Known {
        CloudAccount stored;
        CouchAccount account;
    };
    std::optional<Known> known;
    CouchContainer container;
    std::unique_ptr<CouchAccountCheck> check;
};

}  // namespace vellumix::linux_desktop
