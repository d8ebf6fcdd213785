#pragma once

#include <memory>
#include <optional>

#include "platform/linux/cloud/CodeValidity.h"
#include "platform/linux/cloud/CouchDatabase.h"

namespace vellumix::linux_desktop {

/// The cloud of a person with an account on a server that speaks the CouchDB protocol. The account names the
/// place, so that every identifier stands for the same container.
class CouchCloud final : public CloudServices {
public:
    /// All must outlive it.
    CouchCloud(RunLoop& runLoop, NSURLSession& session, FileSystem& files, CloudAccountSource source,
               std::string assetFolder)
        : container(runLoop, session, files, std::move(source), std::move(assetFolder)) {}

    bool isCodeValid() const override { return isOwnCodeValid(); }
    CKContainer& containerWithIdentifier(std::string_view) override { return container; }

private:
    CouchContainer container;
};

}  // namespace vellumix::linux_desktop
