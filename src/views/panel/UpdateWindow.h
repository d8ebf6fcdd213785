#pragma once

#include <memory>

#include "platform/desktop/Updater.h"
#include "platform/view/windows/HostingView.h"

namespace vellumix {

/// The window of an update: that the server is being asked, what it offers, how far the download is, and what
/// came of it. On the screen for its lifetime, as large as what it shows. Main thread only.
///
/// One that comes unasked may get the keyboard in the middle of somebody's typing, so that the enter key
/// installs nothing there until a button has the focus.
class UpdateWindow final : public UpdatePrompt {
public:
    UpdateWindow(Manner manner, const Stage& stage, std::function<void(Answer answer)> onAnswer);
    ~UpdateWindow() override;
    UpdateWindow(const UpdateWindow&) = delete;
    UpdateWindow& operator=(const UpdateWindow&) = delete;

    void show(const Stage& stage) override;
    void raise() override;

    /// What the window shows, without a window.
    static view::View content(const Stage& stage);

private:
    struct Model;
    struct Form;

    std::shared_ptr<Model> model;
    std::unique_ptr<NSWindow> window;
    std::unique_ptr<view::HostingView> hostingView;
    Observation closing;
};

}  // namespace vellumix
