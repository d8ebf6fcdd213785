#include "shell/Warnings.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/LocalizedText.h"

namespace vellumix {

namespace {

void tellOnce(bool isSo, bool& hasTold, const char* key) {
    if (std::exchange(hasTold, isSo) || !isSo) return;
    platform::current().notifications.show(localized("app.name"), localized(key));
}

}  // namespace

Warnings::Warnings(Store& store)
    : _store(store),
      _items(store.observeItems([this] { update(); })),
      _saving(store.observeSaveFailed([this] { update(); })) {
    update();
}

void Warnings::update() {
    tellOnce(_store.saveFailed().get(), _hasToldOfSaving, "error.save.failed");
    tellOnce(std::ranges::any_of(_store.items().get(), &ClipboardItem::isLockedInClear), _hasToldOfLocking,
             "error.lock.inClear");
}

}  // namespace vellumix
