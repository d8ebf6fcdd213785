#include "platform/headless/Desktop.h"

#include <algorithm>
#include <limits>

#include "platform/foundation/promises/Describing.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix::headless {

namespace {

std::string nameOf(const KeychainItem& item) { return item.service + '/' + item.account; }

std::shared_ptr<const Bitmap> greyBitmap(int width, int height, int grey = 128) {
    constexpr std::size_t bytesPerPixel = 4;
    const auto pixelCount = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return std::make_shared<const Bitmap>(
        Bitmap{width, height, Bytes(pixelCount * bytesPerPixel, static_cast<std::uint8_t>(grey))});
}

}  // namespace

Keychain::Match Keychain::SecItemCopyMatching(const KeychainItem& item) {
    assertMainThread();
    assertNotDescribing("the keychain was asked");
    ++reads;
    if (refusesFromRead && reads >= refusesFromRead) return {errSecInteractionNotAllowed, std::nullopt};
    if (refusal) return {*refusal, std::nullopt};
    const auto found = items.find(nameOf(item));
    if (found == items.end()) return {errSecItemNotFound, std::nullopt};
    return {errSecSuccess, found->second};
}

OSStatus Keychain::SecItemDelete(const KeychainItem& item) {
    assertMainThread();
    assertNotDescribing("the keychain was asked");
    if (refusal) return *refusal;
    return items.erase(nameOf(item)) ? errSecSuccess : errSecItemNotFound;
}

OSStatus Keychain::SecItemAdd(const KeychainItem& item, ByteView secret) {
    assertMainThread();
    assertNotDescribing("the keychain was asked");
    if (refusal) return *refusal;
    ++additions;
    items[nameOf(item)] = bytesOf(secret);
    return errSecSuccess;
}

int Alerts::runModal(const NSAlert& alert) {
    ++shown;
    return answer ? answer(alert) : NSAlert::firstButtonReturn;
}

std::optional<ImageDecoder::PixelSize> ImageDecoder::sizeOf(const Data& encoded) {
    constexpr std::uint32_t sideLimit = std::numeric_limits<int>::max();
    const auto size = pngSize(encoded);
    if (!size || size->width > sideLimit || size->height > sideLimit) return std::nullopt;
    return PixelSize{static_cast<int>(size->width), static_cast<int>(size->height)};
}

std::shared_ptr<const Bitmap> ImageDecoder::decode(const Data& encoded, PixelSize box) {
    assertNotDescribing("a picture was decoded");
    const auto size = isCompletePNG(encoded) ? sizeOf(encoded) : std::nullopt;
    if (!size) return nullptr;
    ++decodings;
    return greyBitmap(std::min(size->width, box.width), std::min(size->height, box.height));
}

std::shared_ptr<const Bitmap> FileIcons::iconForFile(const URL&, int pixels) {
    assertNotDescribing("an icon was read");
    ++questions;
    return hasIcons ? greyBitmap(pixels, pixels, grey.get()) : nullptr;
}

std::vector<SharingServices::Service> SharingServices::servicesFor(
    const std::vector<SharedItem>& items) const {
    if (items.empty()) return {};
    return {Service::open, Service::sendByMail, Service::saveCopy, Service::copyPath};
}

void SharingServices::perform(Service service, const std::vector<SharedItem>& items) {
    performed.emplace_back(service, items);
}

bool SharingServices::openURL(const URL& url) {
    opened.push_back(url);
    return true;
}

void Trash::isThere(const URL& file, std::function<void(bool)> answer) {
    ++looks;
    onMainAfter(secondsToLook, [answer, isThere = !missing.contains(file.path())] { answer(isThere); });
}

void Trash::holds(const URL& file, std::function<void(bool)> answer) {
    offer(file, [answer](const auto& offer) { answer(offer.has_value()); });
}

void Trash::offer(const URL& file, std::function<void(std::optional<Offer>)> answer) {
    ++searches;
    const auto found = missing.find(file.path());
    onMainAfter(secondsToFind,
                [answer, offer = found == missing.end() ? std::nullopt : found->second] { answer(offer); });
}

std::unique_ptr<SPUStandardUpdaterController> Updates::initWithStartingUpdater(bool startingUpdater) {
    class Controller final : public SPUStandardUpdaterController, public SPUUpdater {
    public:
        explicit Controller(Updates& owner) : owner(owner) {}
        SPUUpdater& updater() override { return *this; }
        bool startUpdater() override { return ++owner.started > 0; }
        void checkForUpdates() override { ++owner.checks; }

    private:
        Updates& owner;
    };
    ++made;
    auto controller = std::make_unique<Controller>(*this);
    if (startingUpdater) controller->startUpdater();
    return controller;
}

void MemoryLog::write(Level, std::string_view category, std::string_view message) {
    lines.push_back(std::string(category) + ": " + std::string(message));
}

bool MemoryLog::contains(std::string_view part) const {
    return std::ranges::any_of(lines,
                               [&](const std::string& line) { return line.find(part) != std::string::npos; });
}

Platform Desktop::platform() {
    return {
        .runLoop = &runLoop,
        .log = &log,
        .files = &files,
        .pasteboard = &pasteboard,
        .workspace = &workspace,
        .keychain = &keychain,
        .authentication = &authentication,
        .images = &images,
        .alerts = &alerts,
        .notifications = &notifications,
        .statusBar = &statusBar,
        .windows = &windows,
        .imageDecoder = &imageDecoder,
        .fileIcons = &fileIcons,
        .sharing = &sharing,
        .trash = &trash,
        .hotkeys = &hotkeys,
        .eventTaps = &eventTaps,
        .syntheticKeys = &syntheticKeys,
        .processInfo = &processInfo,
        .urlSession = &urlSession,
        .cloud = &cloud,
        .updates = &updates,
        .applicationSupportDirectories = {"/home/user/.local/share"},
        .temporaryDirectory = "/tmp",
        .defaultsPath = "/home/user/.config/Vellumix/settings.plist",
    };
}

}  // namespace vellumix::headless
