#pragma once

#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace vellumix {

/// Asks for newer versions on a schedule. Main thread.
class SPUUpdater {
public:
    virtual ~SPUUpdater() = default;
    /// Begins the schedule. False where the build names no key or feed that can be used, or nobody sees a
    /// window.
    virtual bool startUpdater() = 0;
};

/// An updater with its windows. Main thread; waits for nobody. Destroying it ends what is under way.
class SPUStandardUpdaterController {
public:
    virtual ~SPUStandardUpdaterController() = default;
    virtual SPUUpdater& updater() = 0;
    /// Asks now, and says whatever comes of it.
    virtual void checkForUpdates() = 0;
};

/// Makes updaters, which feed and key of the main bundle configure. One that isn't started costs nothing.
class Updates {
public:
    virtual ~Updates() = default;
    /// It doesn't outlive the service.
    virtual std::unique_ptr<SPUStandardUpdaterController> initWithStartingUpdater(bool startingUpdater) = 0;
};

/// What a person sees of an update. Main thread. Destroying it takes it off the screen.
class UpdatePrompt {
public:
    /// The server has been asked.
    struct Checking {};
    struct Offer {
        std::string version;
        /// The one that runs.
        std::string present;
        /// Plain text, of a few pages at most.
        std::string notes;
    };
    struct Progress {
        std::string version;
        /// From 0 to 1.
        double fraction = 0;
    };
    /// What there is to be said at the end.
    struct Message {
        std::string text;
    };
    using Stage = std::variant<Checking, Offer, Progress, Message>;

    /// What a person answers: the first three to an offer, `close` to everything else.
    enum class Answer { install, skip, later, close };
    /// With the keyboard where the person asked for it; else it takes nothing from what they are doing.
    enum class Manner { asked, unasked };

    virtual ~UpdatePrompt() = default;
    /// In place of the stage before.
    virtual void show(const Stage& stage) = 0;
    /// In front, with the keyboard.
    virtual void raise() = 0;
};

/// Makes prompts; empty where none can be shown. `onAnswer` may destroy the prompt.
using UpdatePromptMaker =
    std::function<std::unique_ptr<UpdatePrompt>(UpdatePrompt::Manner manner, const UpdatePrompt::Stage& stage,
                                                std::function<void(UpdatePrompt::Answer answer)> onAnswer)>;

}  // namespace vellumix
