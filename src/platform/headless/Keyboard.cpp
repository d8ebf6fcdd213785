#include "platform/headless/Keyboard.h"

#include <algorithm>

namespace vellumix::headless {

namespace {

bool contains(const std::vector<Hotkeys::Combination>& all, const Hotkeys::Combination& one) {
    return std::ranges::find(all, one) != all.end();
}

}  // namespace

std::optional<Observation> Hotkeys::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                        const EventHandlerRef& target) {
    const Combination combination{keyCode, modifiers};
    if (contains(taken, combination) || contains(registered, combination)) return std::nullopt;
    registered.push_back(combination);
    targets[combination] = target;
    return Observation(lifetime.weakly([this, combination] {
        std::erase(registered, combination);
        targets.erase(combination);
    }));
}

bool Hotkeys::hasAllHotKeys() const {
    return std::ranges::none_of(registered, [this](const Combination& one) { return contains(taken, one); });
}

bool Hotkeys::press(const Combination& combination) {
    if (!contains(registered, combination) || contains(taken, combination)) return false;
    if (const auto target = targets[combination].lock()) (*target)();
    return true;
}

void SyntheticKeys::CGEventPost(const KeyChord& chord) {
    const auto front = workspace.frontmostApplication();
    posted.push_back({.chord = chord,
                      .to = front ? front->processIdentifier : 0,
                      .text = pasteboard.stringForType(NSPasteboardTypeString)});
}

}  // namespace vellumix::headless
