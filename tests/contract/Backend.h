#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Pasteboard.h"

namespace vellumix::tests {

/// Another program beside ours, in the terms of a person who uses it.
class OtherProgram {
public:
    virtual ~OtherProgram() = default;

    virtual void copyText(const std::string& text) = 0;
    virtual void copyImage(const std::string& bytes) = 0;
    virtual void copyFiles(const std::vector<std::string>& paths) = 0;
    /// Copies text under a marker that asks for it not to be recorded.
    virtual void copyMarked(const std::string& text, const std::string& marker) = 0;
    /// Announces a copy that never arrives.
    virtual void copyNothing() = 0;
    virtual void clear() = 0;
    /// Ends; every further call is that of another program, started anew.
    virtual void die() = 0;

    virtual std::optional<std::string> pasteText() = 0;
    virtual std::optional<std::string> pasteImage() = 0;
    virtual std::vector<std::string> pasteFiles() = 0;
};

/// A desktop whose pasteboard is to hold the contract of platform/desktop/Pasteboard.h.
class Backend {
public:
    /// What a desktop may be unable to do.
    enum class Ability {
        announceChanges,
    };

    virtual ~Backend() = default;

    /// Why the desktop can't be had here; empty when it can.
    virtual std::string trouble() const { return {}; }
    virtual bool can(Ability ability) const = 0;
    virtual NSPasteboard& pasteboard() = 0;
    virtual OtherProgram& other() = 0;
    /// Lets time pass until the condition holds; false when it doesn't within some seconds.
    virtual bool wait(const std::function<bool()>& condition) = 0;
    /// Lets everything happen that is under way.
    virtual void settle() = 0;
};

std::unique_ptr<Backend> makeHeadlessBackend(NSPasteboard::Capabilities capabilities);
std::unique_ptr<Backend> makeX11Backend();

}  // namespace vellumix::tests
