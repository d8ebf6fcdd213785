#pragma once

#include <memory>
#include <string>

#include "platform/desktop/AuthenticationPrompt.h"
#include "platform/view/windows/HostingView.h"

namespace vellumix {

/// The window in which a person proves who they are: the reason, one question at a time with a field for the
/// answer, and what there is to be said about it. On the screen for its lifetime, with the keyboard. Main
/// thread only.
class PasswordPrompt final : public AuthenticationPrompt {
public:
    /// Its `onCancel` is called once, and may destroy the prompt.
    explicit PasswordPrompt(Request request);
    ~PasswordPrompt() override;
    PasswordPrompt(const PasswordPrompt&) = delete;
    PasswordPrompt& operator=(const PasswordPrompt&) = delete;

    /// Asks in an empty field, in place of any question before. A secret answer isn't shown, and stays
    /// nowhere in memory but in what is handed over.
    void ask(const std::string& question, Echo echo, Answer answer) override;
    /// Until the next message.
    void show(const std::string& message, Importance importance) override;

    /// What the window shows, without a window: a question, and what is wrong, if anything.
    static view::View content(Request request, const std::string& question, const std::string& error);

private:
    struct Model;
    struct Form;

    std::shared_ptr<Model> model;
    std::unique_ptr<NSWindow> window;
    std::unique_ptr<view::HostingView> hostingView;
    Observation closing;
};

}  // namespace vellumix
