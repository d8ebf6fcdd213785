#include "views/panel/PasswordPrompt.h"

#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/Published.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "platform/view/windows/AttachedWindow.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/FlatControls.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

constexpr double width = 320;
constexpr double margin = 20;

}  // namespace

struct PasswordPrompt::Model {
    struct Shown {
        std::string question;
        bool isSecret = true;
        std::string message;
        bool isError = false;
        String answer;
        bool isFocused = true;
    };

    Request request;
    Published<Shown> shown;
    /// The answer to a secret question.
    std::shared_ptr<SecretText> secret = std::make_shared<SecretText>();
    Answer onAnswer;
    /// An answer has been given to a question before.
    bool hasTried = false;
    /// The next answer has been given while the one before was looked at, which may take seconds.
    bool isSubmitted = false;

    bool isEmpty() const {
        return shown.get().isSecret ? secret->view().empty() : shown.get().answer.empty();
    }
    void submit() {
        const auto taker = std::exchange(onAnswer, nullptr);
        if (!taker) {
            isSubmitted = hasTried && !isEmpty();
            return;
        }
        auto given =
            shown.get().isSecret ? std::exchange(*secret, {}) : SecretText(shown.get().answer.view());
        hasTried = true;
        // No message about the try before stands beside the next one, and no answer stays in the field.
        shown.update([](Shown& now) { now.answer = {}, now.message.clear(); });
        taker(std::move(given));
    }
    void cancel() {
        if (const auto handler = std::exchange(request.onCancel, nullptr)) handler();
    }
};

struct PasswordPrompt::Form {
    std::shared_ptr<Model> model;

    View body() const {
        const auto& theme = ThemeManager::shared();
        const auto& shown = model->shown.get();
        const Binding<String> answer(
            [model = model] { return model->shown.get().answer; },
            [model = model](String text) {
                model->shown.update([&](auto& now) { now.answer = std::move(text); });
            });
        const Binding<bool> isFocused(
            [model = model] { return model->shown.get().isFocused; },
            [model = model](bool isNow) { model->shown.update([&](auto& now) { now.isFocused = isNow; }); });
        const auto submit = [model = model] { model->submit(); };
        const auto cancel = [model = model] { model->cancel(); };
        const TextFieldOptions options{.onSubmit = submit};
        const auto field =
            (shown.isSecret ? View(SecretField(model->secret, options)) : View(TextField(answer, options)))
                .focusable(isFocused)
                .focusRing(std::nullopt)
                .font(ThemeManager::bodyFont())
                .foreground(theme.primaryTextColor())
                .semantics(Role::textField, shown.question)
                .padding(8)
                .background(RoundedRectangle(6), theme.surfaceColor(),
                            Outline{theme.accentColor(), shown.isFocused ? 1.5 : 1});
        const auto buttons =
            HStack(Spacing(8), Spacer(),
                   View(FlatCapsuleButton{.title = model->request.cancelTitle, .icon = {}, .action = cancel})
                       .windowAction(WindowAction::cancel)
                       .layoutPriority(1),
                   View(FlatCapsuleButton{.title = model->request.confirmTitle, .icon = {}, .action = submit})
                       .windowAction(WindowAction::accept)
                       .layoutPriority(1));
        return themed(
            VStack(Spacing(12), Alignment::leading(),
                   {HStack(Spacing(10), Symbol("lock.fill").font(Font::system(20)),
                           VStack(Spacing(3), Alignment::leading(),
                                  {Text(localized("app.name")).font(ThemeManager::headingFont()),
                                   Text(model->request.reason)
                                       .font(ThemeManager::smallFont())
                                       .foreground(theme.secondaryTextColor())})
                               .fillWidth(Alignment::leading())),
                    Text(shown.question)
                        .font(ThemeManager::smallFont())
                        .foreground(theme.secondaryTextColor())
                        .lineLimit(2),
                    field,
                    // It keeps its room, so that the window needn't grow for it.
                    Text(shown.message.empty() ? " " : shown.message)
                        .font(ThemeManager::smallFont())
                        .foreground(shown.isError ? ThemeManager::dangerColor() : theme.secondaryTextColor())
                        .lineLimit(2),
                    buttons})
                .padding(margin)
                .frame({.width = width, .maximumHeight = unbounded, .alignment = Alignment::top()})
                .background(Rectangle(), theme.backgroundColor())
                .semantics(Role::alert, model->request.reason));
    }
};

View PasswordPrompt::content(Request request, const std::string& question, const std::string& error) {
    const auto model = std::make_shared<Model>();
    model->request = std::move(request);
    model->shown.update([&](Model::Shown& now) {
        now.question = question;
        now.message = error;
        now.isError = true;
    });
    return Form{model};
}

PasswordPrompt::PasswordPrompt(Request request) : model(std::make_shared<Model>()) {
    this->model->request = std::move(request);
    auto& windows = *platform::current().windows;
    auto& renderer = Renderer::shared();
    const Form form{this->model};
    const auto size = fittingSize(form, renderer, width);
    const auto screen = windows.mainScreen();
    const auto around = screen ? screen->visibleFrame : Rect{{}, size};
    const Rect frame{{around.centre().x - size.width / 2, around.centre().y - size.height / 2}, size};
    window =
        windows.makeWindow({.kind = NSWindow::Kind::alert, .frame = frame, .title = localized("app.name")});
    hostingView = std::make_unique<HostingView>(*window, View(form), renderer);
    hostingView->onUnhandledKey([model = this->model](const KeyEvent& event) {
        if (event.key != Key::escape) return false;
        model->cancel();
        return true;
    });
    closing = hostingView->observeClose([model = this->model] { model->cancel(); });
    hostingView->orderFront();
    window->makeKeyWindow();
}

PasswordPrompt::~PasswordPrompt() { hostingView->orderOut(); }

void PasswordPrompt::ask(const std::string& question, Echo echo, Answer answer) {
    const bool isSecret = echo == Echo::off;
    model->onAnswer = std::move(answer);
    const auto& before = model->shown.get();
    const bool isSame = before.question == question && before.isSecret == isSecret;
    if (!isSame) *model->secret = {};
    model->shown.update([&](Model::Shown& now) {
        now.question = question;
        now.isSecret = isSecret;
        if (!isSame) now.answer = {};
        now.isFocused = true;
        // Whoever asks again, and says nothing, was not content.
        if (model->hasTried && now.message.empty()) {
            now.message = localized("auth.failed");
            now.isError = true;
        }
    });
    if (std::exchange(model->isSubmitted, false) && isSame) model->submit();
}

void PasswordPrompt::show(const std::string& message, Importance importance) {
    model->shown.update([&](Model::Shown& now) {
        now.message = message;
        now.isError = importance == Importance::error;
    });
}

}  // namespace vellumix
