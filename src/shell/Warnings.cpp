#include "shell/Warnings.h"

#include <algorithm>
#include <utility>

#include "core/capture/PasteboardWatcher.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

void tell(const std::string& text) { platform::current().notifications->show(localized("app.name"), text); }

void tellOnce(bool isSo, bool& hasTold, const char* key) {
    if (!std::exchange(hasTold, isSo) && isSo) tell(localized(key));
}

void tellOfLoss(const NotificationCenter::UserInfo& loss) {
    tell(localized("message.copyNotRecorded") + ": " + loss.at("reason"));
}

}  // namespace

Warnings::Warnings(Store& store)
    : _store(store),
      _items(store.observeItems([this] { update(); })),
      _saving(store.observeSaveFailed([this] { update(); })),
      _losses(
          NotificationCenter::defaultCenter().observe(PasteboardWatcher::failedNotification, tellOfLoss)) {
    update();
}

void Warnings::update() {
    tellOnce(_store.saveFailed().get(), _hasToldOfSaving, "error.save.failed");
    tellOnce(std::ranges::any_of(_store.items().get(), &ClipboardItem::isLockedInClear), _hasToldOfLocking,
             "error.lock.inClear");
}

}  // namespace vellumix
