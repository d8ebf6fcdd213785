#include "platform/linux/cloud/CouchCloud.h"

#include <utility>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/linux/cloud/CodeValidity.h"
#include "platform/linux/http/WebAddress.h"

namespace vellumix::linux_desktop {

namespace {

CKError errorOf(OSStatus status) {
    if (status == errSecItemNotFound) return {.localizedDescription = localized("cloud.noPassword")};
    const bool isLocked = status == errSecInteractionNotAllowed || status == errSecUserCanceled;
    return {.localizedDescription = localized(isLocked ? "cloud.keychainLocked" : "cloud.keychainFails")};
}

}  // namespace

CouchCloud::CouchCloud(RunLoop& runLoop, NSURLSession& session, FileSystem& files, std::string assetFolder)
    : runLoop(runLoop),
      session(session),
      container(
          runLoop, session, files, [this] { return account(); }, std::move(assetFolder)) {}

bool CouchCloud::isCodeValid() const { return isOwnCodeValid(); }

bool CouchCloud::canReach(std::string_view address) const {
    // A database is behind the address, where a query can't be.
    return WebAddress::parse(address) && URL::parse(address) &&
           address.find_first_of("?#") == std::string_view::npos;
}

void CouchCloud::checkAccount(AccountVerdict completion) {
    const auto present = account();
    if (const auto* const there = std::get_if<CouchAccount>(&present)) {
        check = std::make_unique<CouchAccountCheck>(runLoop, session, *there, std::move(completion));
        return;
    }
    const auto* const error = std::get_if<CKError>(&present);
    runLoop.post([completion = std::move(completion),
                  sentence = error ? error->localizedDescription : localized("sync.noAccount")] {
        completion(sentence, false);
    });
}

std::variant<std::monostate, CouchAccount, CKError> CouchCloud::account() {
    const auto stored = CloudAccount::stored();
    if (!stored) return std::monostate();
    if (known && known->stored == *stored) return known->account;
    const auto url = URL::parse(stored->address);
    if (!url) return CKError{.localizedDescription = localized("account.badAddress")};
    auto password = stored->password();
    if (!password.text) return errorOf(password.status);
    known = {*stored, {*url, {stored->user, std::make_shared<const SecretText>(*std::move(password.text))}}};
    return known->account;
}

}  // namespace vellumix::linux_desktop
