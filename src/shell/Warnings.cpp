#include "shell/Warnings.h"

#include <algorithm>
#include <utility>

#include "core/capture/PasteboardWatcher.h"
#include "delivery/FileOffer.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

void tell(const std::string& text) { platform::current().notifications->show(localized("app.name"), text); }

void tellOnce(bool isSo, bool& hasTold, const char* key) {
    if (!std::exchange(hasTold, isSo) && isSo) tell(localized(key));
}

Observation observe(std::string_view name, const char* key) {
    return NotificationCenter::defaultCenter().observe(
        name, [key](const NotificationCenter::UserInfo&) { tell(localized(key)); });
}

void tellOfLoss(const NotificationCenter::UserInfo& loss) {
    tell(localized("message.copyNotRecorded") + ": " + loss.at("reason"));
}

}  // namespace

Warnings::Warnings(Store& store)
    : store(store),
      items(store.observeItems([this] { update(); })),
      saving(store.observeSaveFailed([this] { update(); })),
      gone(observe(FileOffer::goneNotification, "message.fileGone")),
      otherNames(observe(FileOffer::otherNameNotification, "message.fileHasOtherName")),
      losses(NotificationCenter::defaultCenter().observe(PasteboardWatcher::failedNotification, tellOfLoss)) {
    update();
}

void Warnings::update() {
    tellOnce(store.saveFailed().get(), hasToldOfSaving, "error.save.failed");
    tellOnce(std::ranges::any_of(store.items().get(), &ClipboardItem::isLockedInClear), hasToldOfLocking,
             "error.lock.inClear");
}

}  // namespace vellumix
